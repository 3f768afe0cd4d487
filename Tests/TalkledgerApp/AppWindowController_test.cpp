#include "TalkledgerApp/WindowFixture.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/TaskHandle.h"

#include <QDateTime>
#include <QUrl>
#include <QWheelEvent>
#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

class AppWindowControllerTest : public testing::WindowFixture {
protected:
    /// Away from the user by that many eighths of a degree.
    void turnWheel(const QQuickItem& turned, int angle) {
        const QPointF middle = turned.mapToScene({turned.width() / 2, turned.height() / 2});
        QWheelEvent turn(middle, window().mapToGlobal(middle), {}, {0, angle}, Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        wheelTime_ += 1000; // without time between them, turns count for nothing
        turn.setTimestamp(wheelTime_);
        QCoreApplication::sendEvent(&window(), &turn);
    }

private:
    quint64 wheelTime_{0};
};

bool hasLatinWord(const std::string& text) {
    return std::search_n(text.begin(), text.end(), 3, true, [](char character, bool) {
               return std::isalpha(static_cast<unsigned char>(character)) != 0;
           }) != text.end();
}

TEST_F(AppWindowControllerTest, OneButtonStartsAndStopsARecordingWhoseTranscriptIsShown) {
    show();
    EXPECT_THAT(textsOf("statusText"), ElementsAre("Ready"));
    click("mainButton");
    waitUntilIdle();
    ASSERT_TRUE(model().isRecording());
    EXPECT_THAT(textsOf("statusText"), ElementsAre("Recording mic and system audio"));
    EXPECT_THAT(textsOf("mainButton"), ElementsAre("Stop Recording"));
    hearSomething();
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !model().isRecording() && !model().isBusy(); }, 60'000));
    EXPECT_THAT(textsOf("statusText"), ElementsAre("Markdown saved"));
    EXPECT_TRUE(shows("The budget is approved."));
    EXPECT_THAT(shownTexts(), Contains("Customer"));
}

TEST_F(AppWindowControllerTest, ShowsWhatFailed) {
    audioInput_.format.channelCount = 0;
    systemAudio_.content.displays.clear();
    show();
    click("mainButton");
    waitUntilIdle();
    EXPECT_FALSE(model().isRecording());
    EXPECT_THAT(textsOf("statusText"), ElementsAre("Start failed"));
    EXPECT_THAT(textsOf("lastError"), ElementsAre(HasSubstr("Microphone capture failed: The default microphone audio "
                                                            "format is unavailable. System audio capture failed: No "
                                                            "display is available for system audio capture.")));
    EXPECT_THAT(shownTexts(), Contains("Neither the microphone nor the system audio is available"));
    click("dismissError");
    EXPECT_EQ(model().lastError(), std::nullopt);
    EXPECT_EQ(shownItem("Neither the microphone nor the system audio is available"), nullptr);
}

TEST_F(AppWindowControllerTest, TellsWhatATrackLacksWhileAndAfterItIsRecorded) {
    audioInput_.format.channelCount = 0;
    show();
    record();
    EXPECT_THAT(shownTexts(), Contains("Microphone capture failed: The default microphone audio format is "
                                       "unavailable."));
    EXPECT_THAT(textsOf("microphoneTrackState"), ElementsAre("not available"));
    hearSomething();
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::writeFailed);
    EXPECT_TRUE(shows("The system audio is not being saved"));
    EXPECT_THAT(textsOf("systemAudioTrackState"), ElementsAre("not being saved"));
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::fileWritten);
    EXPECT_TRUE(shows("Some of the system audio could not be saved."));
    speech_.results.close();
    model().stopRecording();
    EXPECT_TRUE(shows("The recording is being transcribed."));
    EXPECT_THAT(shownTexts(), Contains("Some of the system audio could not be saved."));
    EXPECT_TRUE(shows("Transcribing 50%"));
    speech_.results.open();
    waitUntilIdle();
    EXPECT_TRUE(shows("Microphone not started"));
    EXPECT_THAT(shownTexts(), Contains("Some of the system audio could not be saved."));
}

TEST_F(AppWindowControllerTest, TellsWhenNothingIsHeardAndNoLongerOnceItIs) {
    using namespace std::chrono_literals;
    show();
    record();
    const auto hear = [this](AudioChannel channel, double level, std::chrono::seconds at) {
        reports_->reportLevel(channel, level, MonotonicTime(at));
        QCoreApplication::processEvents();
    };
    hear(AudioChannel::speaker, 0, 0s);
    hear(AudioChannel::mic, 0.2, 21s);
    EXPECT_TRUE(shows("No sound from the other side for 20 seconds"));
    hear(AudioChannel::speaker, 0.2, 22s);
    EXPECT_FALSE(isShown("trackBanner"));
    hear(AudioChannel::speaker, 0, 145s);
    EXPECT_TRUE(shows("No sound from either side for 2 minutes"));
    EXPECT_THAT(textsOf("microphoneTrackState"), ElementsAre("silent for 2 min"));
    hear(AudioChannel::speaker, 0.2, 146s);
    EXPECT_TRUE(shows("No sound from the microphone for 2 minutes"));
    stop();
    EXPECT_FALSE(isShown("trackBanner"));
}

TEST_F(AppWindowControllerTest, NothingMovesWhileARecordingIsFinished) {
    show();
    const auto placeOfLines = [this] {
        const QQuickItem* const lines = item("transcriptLines");
        return lines->mapRectToScene(lines->boundingRect());
    };
    for (const int width : {1280, 800, 480}) {
        speech_.results.open();
        recordLive();
        resize(width, 720);
        say(AudioChannel::mic, testing::spoken("The quote comes on Monday.", 1, 1));
        window().grabWindow();
        const QRectF place = placeOfLines();
        hearSomething();
        speech_.results.close();
        model().stopRecording();
        EXPECT_TRUE(shows("Finishing"));
        EXPECT_TRUE(shows("The quote comes on Monday."));
        window().grabWindow();
        EXPECT_EQ(placeOfLines(), place) << width;
        if (width == 1280) {
            EXPECT_TRUE(shows("Both tracks saved"));
            EXPECT_THAT(textsOf("microphoneProgressState"), ElementsAre(HasSubstr("00:00 / 00:")));
            EXPECT_THAT(textsOf("summaryProgressState"), ElementsAre("waiting"));
        }
        speech_.results.open();
        waitUntilIdle();
        EXPECT_TRUE(shows("The budget is approved."));
    }
}

TEST_F(AppWindowControllerTest, TheFinalTranscriptTakesThePlaceOfTheLiveOneAtTheSameTime) {
    show();
    speech_.scripts["ja_JP"].results.clear();
    for (int line = 0; line < 40; ++line) {
        const std::string longer = "Line " + std::to_string(line) + std::string(200, '.');
        speech_.scripts["ja_JP"].results.push_back(testing::spoken(longer, line * 10, 1));
    }
    recordLive();
    for (int line = 0; line < 40; ++line) {
        say(AudioChannel::speaker, testing::spoken("Line " + std::to_string(line), line * 10, 1));
    }
    QQuickItem* const lines = item("transcriptLines");
    lines->forceActiveFocus();
    press(Qt::Key_PageUp);
    press(Qt::Key_PageUp);
    const auto textAtTop = [&] {
        int top = -1;
        QMetaObject::invokeMethod(lines, "indexAt", Q_RETURN_ARG(int, top), Q_ARG(double, 10),
                                  Q_ARG(double, lines->property("contentY").toDouble() + 20));
        return top;
    };
    window().grabWindow();
    const int read = textAtTop();
    EXPECT_GT(read, 0);
    hearSomething();
    stop();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return std::ranges::any_of(shownTexts(), [](const auto& text) { return text.ends_with("..."); }); }));
    window().grabWindow();
    EXPECT_EQ(textAtTop(), read);
}

TEST_F(AppWindowControllerTest, TheBarHoldsWhatItSaysAtEveryWidth) {
    show();
    const auto rightEnd = [this](const char* name) {
        const QQuickItem* const shown = item(name);
        return shown->isVisible() ? shown->mapToScene({shown->width(), 0}).x() : 0;
    };
    const auto expectInside = [&](const char* state) {
        for (const int width : {320, 480, 600, 720, 1080, 1280}) {
            resize(width, 640);
            window().grabWindow();
            for (const char* const part : {"mainButton", "elapsedTime", "statusText", "systemAudioTrackBar"}) {
                EXPECT_LE(rightEnd(part), width) << state << ", " << width << ": " << part;
            }
            const QQuickItem* const clock = item("elapsedTime");
            const QQuickItem* const meter = item("microphoneTrack");
            const bool isBelow = meter->mapToScene({0, 0}).y() >= clock->mapToScene({0, clock->height()}).y();
            EXPECT_TRUE(!meter->isVisible() || isBelow || meter->mapToScene({0, 0}).x() >= rightEnd("elapsedTime"))
                << state << ", " << width;
        }
    };
    expectInside("idle");
    record();
    expectInside("recording");
    stop();
    expectInside("saved");
}

TEST_F(AppWindowControllerTest, ShowsWhatIsSaidAndFollowsItUntilTheUserScrolls) {
    show();
    recordLive();
    EXPECT_TRUE(shows("What is said appears here."));
    for (int line = 0; line < 40; ++line) {
        say(AudioChannel::mic, testing::spoken("Line " + std::to_string(line), line * 10, 1));
    }
    EXPECT_TRUE(shows("Line 39"));
    EXPECT_TRUE(shows("Following the latest line"));
    QQuickItem* const lines = item("transcriptLines");
    ASSERT_NE(lines, nullptr);
    lines->forceActiveFocus();
    press(Qt::Key_PageUp);
    EXPECT_TRUE(shows("Paused while you read"));
    const QVariant readAt = lines->property("contentY");
    SpeechTranscriptionResult growing = testing::spoken("And", 400, 1);
    growing.isFinal = false;
    for (int word = 0; word < 3; ++word) {
        growing.text += " so on and on and on, until the text needs more lines than one";
        say(AudioChannel::speaker, growing);
    }
    EXPECT_TRUE(shows("Jump to latest  1"));
    EXPECT_EQ(lines->property("contentY"), readAt) << "what is being read stays where it is";
    click("jumpToLatest");
    EXPECT_TRUE(shows(growing.text));
    EXPECT_TRUE(shows("Following the latest line"));
    press(Qt::Key_Home);
    EXPECT_TRUE(shows("Line 0"));
    press(Qt::Key_End);
    EXPECT_TRUE(shows(growing.text));
    turnWheel(*lines, 600);
    EXPECT_TRUE(shows("Paused while you read"));
    const auto isAtTheEnd = [&] {
        turnWheel(*lines, -600);
        return shownItem("Following the latest line") != nullptr;
    };
    EXPECT_TRUE(QTest::qWaitFor(isAtTheEnd, 60'000)) << "what has been scrolled back follows again";
    stop();
}

TEST_F(AppWindowControllerTest, ShowsHowTheLiveSummaryStands) {
    liveSummaryInterval_ = std::chrono::milliseconds(10);
    languageModel_.state.isAvailable = true;
    languageModel_.answer = R"({"overview": "They begin in May.", "decisions": ["The standard package"],
        "customerPains": [], "budgetSignals": [], "decisionCriteria": [], "objections": [], "unresolvedQuestions": [],
        "nextActions": [], "followUpEmailDraft": ""})";
    languageModel_.answering.close();
    show();
    recordLive();
    EXPECT_TRUE(shows(AppCopy{DisplayLanguage::english}.liveSummaryWaitingForSpeech()));
    say(AudioChannel::speaker, testing::spoken("We would like to begin with the standard package in May.", 1, 3));
    EXPECT_TRUE(shows("Updating summary..."));
    languageModel_.answering.open();
    EXPECT_TRUE(shows("The standard package"));
    EXPECT_THAT(shownTexts(), IsSupersetOf({"Live Summary", "Overview", "They begin in May.", "Decisions"}));
    EXPECT_TRUE(shownItem("They begin in May...") || shownItem("They begin in May.")) << "the list has it as the title";
    languageModel_.failure = "The model gave up.";
    say(AudioChannel::mic, testing::spoken("May it is.", 6, 1));
    EXPECT_TRUE(shows("Could not update live summary."));
    EXPECT_THAT(shownTexts(),
                IsSupersetOf({AppCopy{DisplayLanguage::english}.lastSummaryShown(), std::string("Decisions")}));
    resize(800, 600);
    EXPECT_TRUE(QTest::qWaitFor([this] { return shownItem("Decisions") == nullptr; }, 60'000)) << "folded";
    EXPECT_THAT(shownTexts(), Contains("They begin in May."));
    stop();
    EXPECT_EQ(shownItem("Live Summary"), nullptr);
}

TEST_F(AppWindowControllerTest, TellsThatNothingCanBeTranscribedOrSummarised) {
    speech_.scripts = {{"en_US", {.status = SpeechAssetStatus::unsupported, .results = {}}}};
    const AppCopy english{DisplayLanguage::english};
    const auto countOfNotices = [&] { return std::ranges::count(shownTexts(), english.noSpeechRecogniser()); };
    show();
    resize(800, 720); // without room for the messages besides
    EXPECT_EQ(countOfNotices(), 1);
    click("findModel");
    EXPECT_TRUE(shows("Before the first meeting"));
    QTest::keyClick(&window(), Qt::Key_Escape);
    record();
    EXPECT_TRUE(shows(english.recordingIsRunning()));
    EXPECT_TRUE(shows(english.noSpeechModel()));
    EXPECT_EQ(countOfNotices(), 0) << "it is said beside the remedy";
    EXPECT_THAT(shownTexts(), Contains(english.noSummaryModel()));
    hearSomething();
    stop();
    EXPECT_TRUE(shows("No transcript segments to show"));
    EXPECT_EQ(countOfNotices(), 1);

    record();
    speech_.scripts["ja_JP"].status = SpeechAssetStatus::installed;
    model().modelFilesChanged();
    EXPECT_TRUE(shows(english.speechAppearsHere()));
    say(AudioChannel::mic, testing::spoken("At last.", 1, 1));
    EXPECT_EQ(countOfNotices(), 0) << "it has come";
    stop();
}

Task<> choose(Desktop& desktop, std::filesystem::path startFolder, std::optional<std::filesystem::path>& folder,
              bool& isAnswered) {
    folder = co_await desktop.chooseFolder("Choose", startFolder);
    isAnswered = true;
}

TEST_F(AppWindowControllerTest, LetsTheUserChooseAFolder) {
    show();
    std::filesystem::create_directory(home_.path() / "chosen");
    const std::filesystem::path startFolder = home_.path() / "not there yet";
    std::optional<std::filesystem::path> folder;
    bool isAnswered = false;
    startTask(QtMainExecutor(context_), choose(qtDesktop_, startFolder, folder, isAnswered));
    QObject* const dialog = window().findChild<QObject*>(QStringLiteral("folderDialog"));
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog->property("visible").toBool(); }, 60'000));
    EXPECT_EQ(dialog->property("currentFolder").toUrl(), QUrl::fromLocalFile(QString::fromStdString(home_.path())));
    ASSERT_TRUE(QMetaObject::invokeMethod(dialog, "reject"));
    waitUntil([&] { return isAnswered; });
    EXPECT_EQ(folder, std::nullopt);

    isAnswered = false;
    startTask(QtMainExecutor(context_), choose(qtDesktop_, home_.path(), folder, isAnswered));
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog->property("visible").toBool(); }, 60'000));
    dialog->setProperty("selectedFolder", QUrl::fromLocalFile(QString::fromStdString(home_.path() / "chosen")));
    ASSERT_TRUE(QMetaObject::invokeMethod(dialog, "accept"));
    waitUntil([&] { return isAnswered; });
    EXPECT_EQ(folder, home_.path() / "chosen");
}

TEST_F(AppWindowControllerTest, GroupsTheRecordingsByDay) {
    const std::int64_t now = QDateTime::currentSecsSinceEpoch();
    RecordingStore(recordingsFolder(), fileSystem_).createSession("cut off", Date(std::chrono::seconds(now)));
    addFinishedRecording("yesterday's", QDateTime::currentDateTime().addDays(-1).toSecsSinceEpoch(), {});
    addFinishedRecording("of another year", 1'000'000'000, {});
    show();
    EXPECT_THAT(shownTexts(), IsSupersetOf({"Today", "Interrupted", "Yesterday", "Sun 9 Sep 2001", "transcribed"}));
    model().setDisplayLanguage(DisplayLanguage::japanese);
    EXPECT_TRUE(shows("2001年9月9日（日）"));
    EXPECT_THAT(shownTexts(), IsSupersetOf({"今日", "昨日", "中断"}));
}

TEST_F(AppWindowControllerTest, HoldsLongWordsAndLongMeetingsInANarrowWindow) {
    const std::string longWord(200, 'w');
    const TranscriptDocument transcript{{TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 0, 1,
                                                           "予算は" + longWord, TranscriptSegmentStatus::final),
                                         TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 36'000, 1,
                                                           "Good-bye.", TranscriptSegmentStatus::final)}};
    addFinishedRecording(longWord, 1'000, transcript);
    show();
    resize(480, 480);
    ASSERT_TRUE(shows("10:00:00"));
    const QQuickItem* const timecode = shownItem("10:00:00");
    const QQuickItem* const speaker = shownItem("Customer");
    ASSERT_TRUE(timecode && speaker);
    EXPECT_LT(timecode->mapToScene({timecode->width(), 0}).x(), speaker->mapToScene({0, 0}).x());
    const QQuickItem* const speech = item("speech");
    ASSERT_TRUE(speech);
    EXPECT_TRUE(QTest::qWaitFor([&] { return speech->mapToScene({speech->width(), 0}).x() < 480; }, 60'000));
    EXPECT_EQ(speech->property("truncated"), false);
}

TEST_F(AppWindowControllerTest, SpeaksNoEnglishInJapanese) {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("japanese"));
    const AppCopy japanese{DisplayLanguage::japanese};
    const TranscriptDocument transcript{
        {TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 0, 1, "予算は承認されています。",
                           TranscriptSegmentStatus::final)}};
    addFinishedRecording("Sales call 2025-06-02 10:30:00", 1'000, transcript);
    addFinishedRecording("月次の打ち合わせ", 2'000, transcript);
    liveSummaryInterval_ = std::chrono::milliseconds(10);
    languageModel_.state.isAvailable = true;
    languageModel_.answer = R"({"overview": "五月に始めます。", "decisions": ["標準"], "customerPains": ["費用"],
        "budgetSignals": ["予算"], "decisionCriteria": [], "objections": ["期間"], "unresolvedQuestions": ["担当"],
        "nextActions": ["見積り"], "followUpEmailDraft": ""})";
    speech_.scripts["ja_JP"].results = {testing::spoken("予算は承認されています。", 1, 2)};
    show();
    const auto expectJapanese = [this](const char* state) {
        for (const std::string& text : shownTexts()) {
            const bool isShortcut = text.starts_with("Ctrl+") || text == "End";
            const bool isFileName = text == "mic.wav" || text == "speaker.m4a";
            // A cause that the coordinator tells of keeps its words.
            const bool isCause =
                text.starts_with("Foundation Models summary failed: ") || text == "Empty summary generated.";
            EXPECT_FALSE(hasLatinWord(text) && !isShortcut && !isFileName && !isCause &&
                         text.find("Markdown") == std::string::npos)
                << state << ": " << text;
        }
    };
    expectJapanese("idle");
    recordLive();
    EXPECT_TRUE(shows(japanese.speechAppearsHere()));
    expectJapanese("recording");
    for (int line = 0; line < 20; ++line) {
        say(AudioChannel::speaker, testing::spoken("五月に標準の内容で始めたいと思います。", line * 10, 1));
    }
    EXPECT_TRUE(shows("五月に始めます。"));
    EXPECT_TRUE(shows(japanese.followingLatestLine()));
    expectJapanese("summarised");
    languageModel_.failure = "The model gave up.";
    say(AudioChannel::mic, testing::spoken("分かりました。", 300, 1));
    EXPECT_TRUE(shows(japanese.lastSummaryShown()));
    item("transcriptLines")->forceActiveFocus();
    press(Qt::Key_Home);
    EXPECT_TRUE(shows(japanese.pausedWhileYouRead()));
    expectJapanese("not summarised");
    speech_.results.close();
    hearSomething();
    model().stopRecording();
    EXPECT_TRUE(shows(japanese.liveTranscriptKept()));
    expectJapanese("stopping");
    speech_.results.open();
    waitUntilIdle();
    click("exportFolderButton");
    EXPECT_TRUE(shows("Markdown保存先を開く"));
    expectJapanese("saved");
    press(Qt::Key_Escape);

    languageModel_.state.isAvailable = false;
    speech_.scripts = {{"en_US", {.status = SpeechAssetStatus::unsupported, .results = {}}}};
    record();
    EXPECT_TRUE(shows(japanese.noSpeechModel()));
    EXPECT_TRUE(shows(japanese.noSummaryModel()));
    expectJapanese("nothing to transcribe with");
    stop();
    click("languageButton");
    EXPECT_EQ(model().displayLanguage(), DisplayLanguage::english);
    EXPECT_TRUE(shows("Start Recording"));
}

} // namespace
} // namespace talkledger
