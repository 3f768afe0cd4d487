#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/FakeAudioFiles.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeAuthorization.h"
#include "Fakes/FakeLanguageModel.h"
#include "Fakes/FakeSpeechRecognition.h"
#include "Fakes/FakeSystemAudio.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerApp/QtMainExecutor.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <QtTest/QTest>
#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>

#include <QSettings>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace talkledger::testing {

/// The model over real files and fake devices and engines. The fakes are there before the model, which a test makes
/// when it has prepared them.
class AppFixture : public ::testing::Test {
public:
    AppFixture(const AppFixture&) = delete;
    AppFixture& operator=(const AppFixture&) = delete;

protected:
    AppFixture();
    ~AppFixture() override;

    AppModel& makeModel();

    AppModel& model() { return *model_; }

    /// Runs the event loop until the model has done what it was asked; fails if that takes very long.
    void waitUntilIdle();
    void record();
    void stop();

    /// Lets both tracks of the recording in progress have heard something.
    void hearSomething();

    /// Puts a finished recording on disk as an earlier run of the program would have left it.
    RecordingSession addFinishedRecording(const std::string& title, std::int64_t startSeconds,
                                          const TranscriptDocument& transcript);

    std::filesystem::path recordingsFolder() const { return home_.path() / "data/Talkledger/Recordings"; }

    std::filesystem::path exportFolder() const { return home_.path() / "Documents/Talkledger Transcripts"; }

    TemporaryFolder home_;
    QSettings settings_;
    CallLog log_;
    PosixFileSystem fileSystem_;
    FakeAudioInput audioInput_{log_};
    FakeSystemAudio systemAudio_{log_};
    FakeAudioFiles audioFiles_{log_};
    FakeAuthorization authorization_;
    FakeSpeechRecognition speech_{log_};
    FakeLanguageModel languageModel_;
    QtMainContext context_;
    boost::asio::thread_pool background_{1};
    std::shared_ptr<CaptureReports> reports_;

private:
    std::optional<AppModel> model_;
};

SpeechTranscriptionResult spoken(const std::string& text, double start, double duration);

} // namespace talkledger::testing
