#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/FakeAudioFiles.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeAuthorization.h"
#include "Fakes/FakeDesktop.h"
#include "Fakes/FakeLanguageModel.h"
#include "Fakes/FakeModelCheck.h"
#include "Fakes/FakeModelFiles.h"
#include "Fakes/FakePlayback.h"
#include "Fakes/FakeSpeechRecognition.h"
#include "Fakes/FakeSystemAudio.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerApp/QtMainExecutor.h"
#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"
#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"

#include <QtTest/QTest>
#include <boost/asio/thread_pool.hpp>

#include <QSettings>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace talkledger::testing {

/// The model over real files and fake devices and engines. The fakes are there before the model, which is made when
/// they are prepared.
class AppStage {
public:
    AppStage(const AppStage&) = delete;
    AppStage& operator=(const AppStage&) = delete;

protected:
    AppStage();
    virtual ~AppStage();

    AppModel& makeModel();

    /// The same, but its list of recordings is still being loaded.
    AppModel& startModel();

    AppModel& model() { return *model_; }

    /// Runs the event loop until the model has done what it was asked; throws if that takes very long.
    void waitUntilIdle();
    void record();
    void stop();

    /// Runs the event loop until it holds; throws if that takes very long.
    template <typename Condition>
    void waitUntil(Condition holds) {
        if (!QTest::qWaitFor(holds, 60'000)) {
            throw std::runtime_error("Something did not come about.");
        }
    }

    /// Begins a recording both of whose tracks are transcribed live.
    void recordLive();

    /// What the recogniser makes of a channel of the recording begun last.
    FakeLiveAnalysis& live(AudioChannel channel);

    /// Says it in that channel, and waits until it is shown.
    void say(AudioChannel channel, const SpeechTranscriptionResult& result);

    /// Lets both tracks of the recording in progress have heard something.
    void hearSomething();

    /// Puts a finished recording on disk as an earlier run of the program would have left it.
    RecordingSession addFinishedRecording(const std::string& title, std::int64_t startSeconds,
                                          const TranscriptDocument& transcript);

    std::filesystem::path recordingsFolder() const { return home_.path() / "data/Talkledger/Recordings"; }

    std::filesystem::path exportFolder() const { return home_.path() / "Documents/Talkledger Transcripts"; }

    TemporaryFolder home_;
    QSettings settings_;
    LiveSummary::Interval liveSummaryInterval_{LiveSummary::interval};
    CallLog log_;
    PosixFileSystem fileSystem_;
    FakeAudioInput audioInput_{log_};
    FakeSystemAudio systemAudio_{log_};
    FakeAudioFiles audioFiles_{log_};
    ResamplerAudioConversion audioConversion_;
    FakeAuthorization authorization_;
    FakeSpeechRecognition speech_{log_};
    FakeLanguageModel languageModel_;
    FakeDesktop desktop_{log_};
    FakePlayback playback_;
    FakeModelCheck modelCheck_;
    QtMainContext context_;
    ModelFolder modelFolder_{home_.path() / "data/Talkledger/Models", modelCheck_, DownloadHosts::loopback};
    FakeModelFiles modelPicture_;
    ModelFiles* modelFiles_{&modelFolder_}; ///< the one that the model is given
    boost::asio::thread_pool background_{1};
    std::shared_ptr<CaptureReports> reports_;

private:
    std::optional<AppModel> model_;
};

SpeechTranscriptionResult spoken(const std::string& text, double start, double duration);

} // namespace talkledger::testing
