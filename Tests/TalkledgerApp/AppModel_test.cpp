#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <boost/asio/post.hpp>
#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

namespace talkledger::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

class AppModelTest : public AppFixture {
protected:
    /// Every status text from now on.
    const std::vector<std::string>& watchStatus() {
        QObject::connect(&model(), &AppModel::statusTextChanged,
                         [this] { statusTexts_.push_back(model().statusText()); });
        return statusTexts_;
    }

    void deliverMicrophoneBuffer(float sample) {
        const std::vector<float> samples(64, sample);
        audioInput_.deliver(makeFloatBuffer(samples, 1, std::chrono::steady_clock::now()));
    }

    static std::string content(const std::filesystem::path& file) {
        std::ifstream stream(file);
        std::stringstream text;
        text << stream.rdbuf();
        return text.str();
    }

private:
    std::vector<std::string> statusTexts_;
};

TEST_F(AppModelTest, BeginsIdleInTheStoredLanguageWithTheNewestRecordingFirst) {
    const RecordingSession older = addFinishedRecording("older", 1'000, {});
    const RecordingSession newer = addFinishedRecording("newer", 2'000, {});
    makeModel();
    EXPECT_EQ(model().statusText(), "準備完了");
    EXPECT_EQ(model().displayLanguage(), DisplayLanguage::japanese);
    EXPECT_FALSE(model().isRecording() || model().isBusy() || model().lastError() || model().currentSession());
    EXPECT_THAT(model().sessions(), ElementsAre(newer, older));
    EXPECT_EQ(model().rootDirectory(), recordingsFolder());
    EXPECT_EQ(model().permissions()->microphone, CapturePermissionState::authorized);
    EXPECT_EQ(model().permissions()->systemAudio, CapturePermissionState::unknown);

    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("English"));
    EXPECT_EQ(makeModel().displayLanguage(), DisplayLanguage::japanese) << "only the exact word counts";
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
    EXPECT_EQ(makeModel().statusText(), "Ready");
}

TEST_F(AppModelTest, TheListIsLoadedAsideAndMissesNothingThatChangesMeanwhile) {
    const RecordingSession first = addFinishedRecording("first", 1'000, {});
    std::promise<void> disk;
    boost::asio::post(background_, [ready = disk.get_future().share()] { ready.wait(); });
    startModel();
    QCoreApplication::processEvents();
    EXPECT_TRUE(model().isLoadingSessions());
    EXPECT_THAT(model().sessions(), IsEmpty());
    const RecordingSession second = addFinishedRecording("second", 2'000, {});
    model().refreshSession(second);
    EXPECT_THAT(model().sessions(), ElementsAre(second));
    std::filesystem::remove_all(second.directory);
    model().refreshSession(second);
    EXPECT_THAT(model().sessions(), IsEmpty());
    disk.set_value();
    waitUntil([this] { return !model().isLoadingSessions(); });
    EXPECT_THAT(model().sessions(), ElementsAre(first));

    const RecordingSession third = addFinishedRecording("third", 1'500, {});
    model().refreshSessions();
    waitUntil([this] { return model().sessions().size() == 2; });
    EXPECT_THAT(model().sessions(), ElementsAre(third, first));
}

TEST_F(AppModelTest, RecordsTranscribesAndExportsByItself) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    const std::vector<std::string>& statusTexts = watchStatus();
    record();
    ASSERT_TRUE(model().isRecording());
    ASSERT_TRUE(model().currentSession());
    EXPECT_THAT(model().currentSession()->title,
                MatchesRegex("Sales call [0-9]{4}(-[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2}"));
    EXPECT_THAT(model().sessions(), SizeIs(1));
    EXPECT_EQ(model().sessions().front().endedAt, std::nullopt);
    hearSomething();
    stop();
    EXPECT_FALSE(model().isRecording());
    EXPECT_EQ(model().currentSession(), std::nullopt);
    EXPECT_THAT(statusTexts, ElementsAre("Starting capture...", "Recording mic and system audio",
                                         "Stopping and transcribing...", "Recording saved", "Markdown saved"));
    EXPECT_EQ(model().lastError(), std::nullopt);
    ASSERT_THAT(model().sessions(), SizeIs(1));
    const RecordingSession& finished = model().sessions().front();
    EXPECT_NE(finished.endedAt, std::nullopt);
    // Both fake tracks say the same at the same time: the microphone's is taken for an echo.
    ASSERT_TRUE(model().transcript(finished));
    EXPECT_THAT(model().transcript(finished)->segments, SizeIs(1));
    ASSERT_TRUE(model().lastMarkdownExportURL());
    EXPECT_EQ(model().lastMarkdownExportURL()->parent_path(), exportFolder());
    EXPECT_THAT(content(*model().lastMarkdownExportURL()), HasSubstr("Customer: The budget is approved."));
}

TEST_F(AppModelTest, SaysSoWhenTheExportFails) {
    const std::filesystem::path chosen = home_.path() / "chosen";
    settings_.setValue(QStringLiteral("markdownExportDirectory"), QString::fromStdString(chosen));
    std::ofstream(chosen) << "a file where the folder should be";
    makeModel();
    record();
    stop();
    EXPECT_EQ(model().statusText(), "Markdown保存に失敗しました");
    EXPECT_NE(model().lastError(), std::nullopt);
    EXPECT_FALSE(model().isRecording());
    EXPECT_THAT(model().sessions(), SizeIs(1)) << "the recording itself is saved";
}

TEST_F(AppModelTest, AFailedStartLeavesTheModelIdleWithTheReason) {
    audioInput_.startFailure = "no microphone";
    systemAudio_.startFailure = "no output";
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    record();
    EXPECT_FALSE(model().isRecording());
    EXPECT_EQ(model().currentSession(), std::nullopt);
    EXPECT_EQ(model().statusText(), "Start failed");
    EXPECT_THAT(model().lastError().value_or(""), HasSubstr("No capture track could be started: "));
    EXPECT_TRUE(model().statusIsFailure() && model().noTrackStarted());
    EXPECT_THAT(speech_.live, IsEmpty());
    EXPECT_EQ(model().liveSummaryStatus(), LiveSummaryStatus::idle);
    model().dismissLastError();
    EXPECT_FALSE(model().lastError() || model().noTrackStarted());
    waitUntil([this] { return model().sessions().size() == 1; }); // the attempt stays, with its diagnostics
    audioInput_.startFailure.reset();
    record();
    EXPECT_TRUE(model().isRecording());
    EXPECT_EQ(model().lastError(), std::nullopt);
    stop();
}

TEST_F(AppModelTest, CapturingThatGoesOnAfterAFailedStartCanBeStopped) {
    authorization_.status = AuthorizationStatus::notDetermined;
    makeModel().startRecording();
    ASSERT_TRUE(QTest::qWaitFor([this] { return authorization_.promptCount == 1; }, 60'000));
    // While the user thinks about the microphone, something takes the place of the recording's diagnostics.
    const std::filesystem::path diagnostics =
        std::filesystem::directory_iterator(recordingsFolder())->path() / "diagnostics.json";
    std::filesystem::remove(diagnostics);
    std::filesystem::create_directories(diagnostics / "in the way");
    authorization_.answer(true);
    waitUntilIdle();
    EXPECT_EQ(model().statusText(), "録音開始に失敗しました");
    EXPECT_TRUE(model().isRecording()) << "both tracks run, and the user has to see it";
    ASSERT_TRUE(model().currentSession());
    std::filesystem::remove_all(diagnostics);
    stop();
    EXPECT_FALSE(model().isRecording());
    EXPECT_EQ(model().lastError(), std::nullopt);
}

TEST_F(AppModelTest, AFailedStopEndsTheRecordingWithTheReason) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    record();
    std::filesystem::remove_all(recordingsFolder());
    std::ofstream(recordingsFolder()) << "a file where the folder should be";
    stop();
    EXPECT_EQ(model().statusText(), "Stop failed");
    EXPECT_NE(model().lastError(), std::nullopt);
    EXPECT_FALSE(model().isRecording());
    EXPECT_EQ(model().currentSession(), std::nullopt);
    EXPECT_EQ(model().lastMarkdownExportURL(), std::nullopt);
}

TEST_F(AppModelTest, ASecondRequestIsIgnoredWhileOneIsInProgress) {
    makeModel();
    model().startRecording();
    model().startRecording();
    model().stopRecording();
    waitUntilIdle();
    EXPECT_TRUE(model().isRecording());
    EXPECT_THAT(model().sessions(), SizeIs(1));
    hearSomething();
    speech_.results.close();
    model().stopRecording();
    ASSERT_TRUE(QTest::qWaitFor([this] { return speech_.results.waitingCount() == 2; }, 60'000));
    EXPECT_TRUE(model().isBusy() && model().isRecording())
        << "until it is transcribed the recording is the current one";
    EXPECT_EQ(model().statusText(), "停止して文字起こし中...");
    EXPECT_EQ(model().finishing()->share(AudioChannel::mic), 0.5);
    EXPECT_EQ(model().finishing()->share(), 0.5);
    model().stopRecording();
    model().startRecording();
    speech_.results.open();
    waitUntilIdle();
    EXPECT_FALSE(model().isRecording());
    EXPECT_THAT(model().sessions(), SizeIs(1));
    EXPECT_EQ(model().finishing()->share(AudioChannel::mic), 0);
}

TEST_F(AppModelTest, WithoutAStoreThereIsNoRecorderAndTheRestWorks) {
    std::ofstream(home_.path() / "data") << "a file where the folder should be";
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    EXPECT_EQ(makeModel().statusText(), "Storage unavailable");
    EXPECT_NE(model().lastError(), std::nullopt);
    EXPECT_EQ(model().rootDirectory(), std::nullopt);
    record();
    EXPECT_EQ(model().statusText(), "Recorder unavailable");
    EXPECT_FALSE(model().isBusy() || model().isRecording());
    stop();
    EXPECT_EQ(model().statusText(), "Recorder unavailable");
    model().exportTranscriptMarkdown(RecordingSession());
    EXPECT_EQ(model().statusText(), "Markdown export failed");
    model().refreshSessions();
    EXPECT_THAT(model().sessions(), IsEmpty());
    EXPECT_EQ(model().transcript(RecordingSession()), std::nullopt);
}

TEST_F(AppModelTest, ABrokenLibraryKeepsTheListThatIsShown) {
    const RecordingSession kept = addFinishedRecording("kept", 1'000, {});
    makeModel();
    std::filesystem::create_directories(recordingsFolder() / "broken");
    std::ofstream(recordingsFolder() / "broken/session.json") << "{}";
    model().refreshSessions();
    waitUntil([this] { return model().lastError().has_value(); });
    EXPECT_THAT(model().sessions(), ElementsAre(kept));
    EXPECT_THAT(model().lastError().value_or(""), HasSubstr("session.json"));
}

TEST_F(AppModelTest, TheLanguageIsKeptAndSetsTheStatusAnew) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    EXPECT_EQ(model().statusText(), "Ready");
    EXPECT_EQ(settings_.value(QStringLiteral("displayLanguage")).toString(), QStringLiteral("english"));
    record();
    model().setDisplayLanguageName(QStringLiteral("japanese"));
    EXPECT_EQ(model().statusText(), "マイクとシステム音声を録音中");
    model().setDisplayLanguageName(QStringLiteral("klingon"));
    EXPECT_EQ(model().displayLanguage(), DisplayLanguage::japanese);
    stop();
}

TEST_F(AppModelTest, RenamesCopiesAndExportsARecording) {
    const TranscriptDocument transcript{
        {TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 1, 2, "We agree.", TranscriptSegmentStatus::final)}};
    const RecordingSession session = addFinishedRecording("Sales call 2026-01-02 03:04:05", 1'000, transcript);
    makeModel();
    model().rename(session, "  Aoba  ");
    EXPECT_EQ(model().statusText(), "録音名を変更しました");
    EXPECT_EQ(model().sessions().front().title, "Aoba");
    model().copyTranscriptMarkdown(model().sessions().front());
    EXPECT_EQ(model().statusText(), "文字起こしをコピーしました");
    EXPECT_THAT(desktop_.clipboard, HasSubstr("- `00:01` 自分: We agree."));
    model().exportTranscriptMarkdown(model().sessions().front());
    EXPECT_EQ(model().statusText(), "Markdownを保存しました");

    std::filesystem::remove(session.artifacts.transcript);
    model().copyTranscriptMarkdown(session);
    EXPECT_NE(model().lastError(), std::nullopt);
    EXPECT_EQ(model().transcript(session), std::nullopt);
    model().exportTranscriptMarkdown(session);
    EXPECT_EQ(model().statusText(), "Markdown保存に失敗しました");
}

TEST_F(AppModelTest, TellsTheRecordingThatNobodyCanTranscribeIt) {
    speech_.scripts = {{"en_US", {.status = SpeechAssetStatus::unsupported, .results = {}}}};
    const std::string message = AppCopy{DisplayLanguage::english}.noSpeechRecogniser();
    makeModel();
    EXPECT_FALSE(model().isSpeechOffered()) << "told before anything is recorded";
    record();
    EXPECT_THAT(model().diagnostics(*model().currentSession())->messages, Contains(message));
    hearSomething();
    stop();
    const RecordingSession untold = model().sessions().front();
    EXPECT_THAT(model().diagnostics(untold)->messages, Contains(message));
    EXPECT_THAT(model().transcript(untold)->segments, IsEmpty());

    // A recogniser has been installed meanwhile.
    speech_.scripts["ja_JP"].results = {spoken("The budget is approved.", 1, 2)};
    record();
    EXPECT_TRUE(model().isSpeechOffered());
    const RecordingSession told = model().currentSession().value_or(RecordingSession());
    hearSomething();
    stop();
    EXPECT_THAT(model().diagnostics(told)->messages, Not(Contains(message)));
}

TEST_F(AppModelTest, TheDesktopShowsTheFoldersAndSettings) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    model().openMarkdownExportDirectory();
    EXPECT_TRUE(std::filesystem::is_directory(exportFolder())) << "also before the first export";
    model().openStorageFolder();
    model().openSettings(CapturePermissionKind::systemAudio);
    record();
    stop();
    const RecordingSession session = model().sessions().front();
    model().reveal(QString::fromStdString(uuidText(session.id)));
    EXPECT_THAT(log_.calls(),
                IsSupersetOf({"open " + exportFolder().string(), "open " + recordingsFolder().string(),
                              "settings " + CapturePermissionInspector::settingsURL(CapturePermissionKind::systemAudio),
                              "reveal " + session.directory.string()}));
    desktop_.failure = "There is no file browser.";
    model().openStorageFolder();
    EXPECT_EQ(model().lastError(), "There is no file browser.");
    desktop_.failure.reset();
    model().openStorageFolder();
    EXPECT_EQ(model().lastError(), std::nullopt) << "the next action begins without the old error";
}

TEST_F(AppModelTest, TheUserChoosesTheExportFolderOrThinksBetterOfIt) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    desktop_.dialog.close();
    model().chooseMarkdownExportDirectory();
    waitUntil([this] { return desktop_.dialog.waitingCount() == 1; });
    EXPECT_THAT(log_.calls(), Contains("Choose Markdown Folder: " + exportFolder().string()));
    EXPECT_FALSE(model().isBusy()) << "a dialog holds nothing up";
    desktop_.chosenFolder = home_.path() / "chosen";
    desktop_.dialog.open();
    waitUntil([this] { return model().markdownExportDirectory().has_value(); });
    EXPECT_EQ(settings_.value(QStringLiteral("markdownExportDirectory")).toString().toStdString(),
              home_.path() / "chosen");
    record();
    stop();
    EXPECT_EQ(model().lastMarkdownExportURL()->parent_path(), home_.path() / "chosen");

    desktop_.chosenFolder.reset();
    model().chooseMarkdownExportDirectory();
    desktop_.failure = "There is no dialog.";
    model().chooseMarkdownExportDirectory();
    waitUntil([this] { return model().lastError().has_value(); });
    EXPECT_EQ(model().markdownExportDirectory(), home_.path() / "chosen");
}

TEST_F(AppModelTest, PermissionsAreRequestedAndTold) {
    makeModel().setDisplayLanguage(DisplayLanguage::english);
    const std::vector<std::string>& statusTexts = watchStatus();
    const auto request = [&](std::size_t texts) {
        model().requestCapturePermissions();
        waitUntil([&, texts] { return statusTexts.size() == texts; });
    };
    authorization_.screenCaptureIsGranted = false; // which does not matter
    request(2);
    systemAudio_.contentFailure = "The sound server cannot be reached.";
    request(4);
    EXPECT_EQ(model().permissions()->systemAudio, CapturePermissionState::denied);
    EXPECT_EQ(model().permissions()->screenCapture, CapturePermissionState::denied);
    EXPECT_EQ(model().permissions()->microphone, CapturePermissionState::authorized);
    EXPECT_THAT(statusTexts, ElementsAre("Requesting permissions...", "Permissions ready", "Requesting permissions...",
                                         "Permissions need attention"));
    EXPECT_EQ(model().lastError(), std::nullopt);
}

TEST_F(AppModelTest, ATitleGivenWhileRecordingStays) {
    makeModel();
    record();
    const QString recordingID = model().currentRecordingID();
    model().rename(recordingID, QStringLiteral("Aoba"));
    EXPECT_EQ(model().currentSession()->title, "Aoba");
    EXPECT_EQ(model().statusText(), "録音名を変更しました");
    record();
    EXPECT_NE(model().lastError(), std::nullopt) << "a recording is already in progress";
    EXPECT_EQ(model().currentSession()->title, "Aoba");
    stop();
    EXPECT_EQ(model().sessions().front().title, "Aoba");
    EXPECT_THAT(content(*model().lastMarkdownExportURL()), HasSubstr("# Aoba"));
}

TEST_F(AppModelTest, LevelsReachTheModelWithoutAFloodAndNotAfterTheEnd) {
    makeModel();
    record();
    int changes = 0;
    QObject::connect(&model(), &AppModel::microphoneLevelChanged, [&] { ++changes; });
    std::thread capture([this] {
        for (int buffer = 0; buffer < 1000; ++buffer) {
            deliverMicrophoneBuffer(0.25F);
        }
        deliverMicrophoneBuffer(0.5F);
    });
    capture.join();
    ASSERT_TRUE(QTest::qWaitFor([this] { return model().microphoneLevel() == 0.5; }, 60'000));
    EXPECT_EQ(changes, 1) << "what nobody has looked at yet is replaced";
    stop();
    EXPECT_EQ(model().microphoneLevel(), 0);
    reports_->reportLevel(AudioChannel::mic, 0.75);
    reports_->reportTrackHealth(AudioChannel::mic, TrackHealthEvent::writeFailed);
    QCoreApplication::processEvents();
    EXPECT_EQ(model().microphoneLevel(), 0);
    EXPECT_EQ(model().tracks()->state(AudioChannel::mic), TrackState::running);
}

TEST_F(AppModelTest, TrackHealthIsShownForTheRecordingItBelongsTo) {
    makeModel();
    record();
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::waitingForDevice);
    QCoreApplication::processEvents();
    EXPECT_EQ(model().tracks()->state(AudioChannel::speaker), TrackState::waitingForDevice);
    // This one is on its way while the recording ends and the next begins.
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::waitingForDevice);
    reports_->endRecording();
    reports_->beginRecording([](AudioChannel, double, MonotonicTime) {},
                             [](AudioChannel, TrackHealthEvent) { FAIL() << "of the earlier recording"; });
    QCoreApplication::processEvents();
    stop();
}

TEST_F(AppModelTest, WhatATrackWentThroughStaysInTheRecordingsMessages) {
    makeModel();
    record();
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::writeFailed);
    reports_->reportTrackHealth(AudioChannel::mic, TrackHealthEvent::waitingForDevice);
    reports_->reportTrackHealth(AudioChannel::mic, TrackHealthEvent::deviceRunning);
    stop();
    const auto diagnostics = model().diagnostics(model().sessions().front());
    ASSERT_TRUE(diagnostics);
    EXPECT_THAT(diagnostics->messages,
                ElementsAre("Microphone capture stopped.", "System audio capture stopped.",
                            "Transcript and summary generated.",
                            "The microphone was not available for a time. Its track is silent there.",
                            "Some of the system audio could not be saved."));
    EXPECT_EQ(model().lastError(), std::nullopt);

    record();
    const RecordingSession next = model().currentSession().value_or(RecordingSession());
    stop();
    EXPECT_THAT(model().diagnostics(next)->messages, SizeIs(3)) << "a new recording, a new tale";
}

} // namespace
} // namespace talkledger::testing
