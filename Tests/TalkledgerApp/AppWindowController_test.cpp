#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

#include <QDateTime>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

/// The window over the model, on no real screen.
class AppWindowControllerTest : public testing::AppFixture {
protected:
    void show() {
        appearance_.emplace(QDBusConnection(QStringLiteral("no bus")));
        windows_.emplace(makeModel(), *appearance_);
        windows_->showRecordings();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
    }

    QQuickWindow& window() { return *windows_->window(); }

    /// Delegates are no QObject children of the window: the items are walked.
    static QQuickItem* itemBelow(QQuickItem& item, const QString& name) {
        if (item.objectName() == name) {
            return &item;
        }
        for (QQuickItem* const child : item.childItems()) {
            if (QQuickItem* const found = itemBelow(*child, name)) {
                return found;
            }
        }
        return nullptr;
    }

    QString textOf(const char* name) {
        QQuickItem* const item = itemBelow(*window().contentItem(), QString::fromLatin1(name));
        return item == nullptr ? QString() : item->property("text").toString();
    }

    void click(const char* name) {
        QQuickItem* const item = itemBelow(*window().contentItem(), QString::fromLatin1(name));
        ASSERT_NE(item, nullptr) << name;
        const QPointF middle = item->mapToScene({item->width() / 2, item->height() / 2});
        QTest::mouseClick(&window(), Qt::LeftButton, {}, middle.toPoint());
    }

    /// Every text that a person sees.
    std::vector<std::string> shownTexts() {
        std::vector<std::string> texts;
        for (const QQuickItem* const item : shownItems()) {
            texts.push_back(item->property("text").toString().toStdString());
        }
        return texts;
    }

    /// Null when nothing shows the text.
    const QQuickItem* shownItem(const std::string& text) {
        const std::vector<const QQuickItem*> items = shownItems();
        const auto found = std::ranges::find_if(
            items, [&](const QQuickItem* item) { return item->property("text").toString().toStdString() == text; });
        return found == items.end() ? nullptr : *found;
    }

    /// Waits for it; false if it does not come.
    bool shows(const std::string& text) {
        return QTest::qWaitFor([&] { return shownItem(text) != nullptr; }, 60'000);
    }

private:
    std::vector<const QQuickItem*> shownItems() {
        std::vector<const QQuickItem*> items;
        collectTexts(*window().contentItem(), items);
        return items;
    }

    static void collectTexts(const QQuickItem& item, std::vector<const QQuickItem*>& items) {
        if (!item.isVisible()) {
            return;
        }
        if (!item.property("text").toString().isEmpty()) {
            items.push_back(&item);
        }
        for (const QQuickItem* const child : item.childItems()) {
            collectTexts(*child, items);
        }
    }

    std::optional<DesktopAppearance> appearance_;
    std::optional<AppWindowController> windows_;
};

bool hasLatinWord(const std::string& text) {
    return std::search_n(text.begin(), text.end(), 3, true, [](char character, bool) {
               return std::isalpha(static_cast<unsigned char>(character)) != 0;
           }) != text.end();
}

TEST_F(AppWindowControllerTest, OneButtonStartsAndStopsARecordingWhoseTranscriptIsShown) {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
    show();
    EXPECT_EQ(textOf("statusText"), QStringLiteral("Ready"));
    click("mainButton");
    waitUntilIdle();
    ASSERT_TRUE(model().isRecording());
    EXPECT_EQ(textOf("statusText"), QStringLiteral("Recording mic and system audio"));
    EXPECT_EQ(textOf("mainButton"), QStringLiteral("Stop Recording"));
    hearSomething();
    QTest::keyClick(&window(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !model().isRecording() && !model().isBusy(); }, 60'000));
    EXPECT_EQ(textOf("statusText"), QStringLiteral("Markdown saved"));
    EXPECT_TRUE(shows("The budget is approved."));
    EXPECT_THAT(shownTexts(), Contains("Customer"));
}

TEST_F(AppWindowControllerTest, ShowsWhatFailed) {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
    audioInput_.format.channelCount = 0;
    systemAudio_.content.displays.clear();
    show();
    click("mainButton");
    waitUntilIdle();
    EXPECT_FALSE(model().isRecording());
    EXPECT_EQ(textOf("statusText"), QStringLiteral("Start failed"));
    EXPECT_THAT(textOf("lastError").toStdString(),
                HasSubstr("Microphone capture failed: The default microphone audio format is unavailable. System audio "
                          "capture failed: No display is available for system audio capture."));
    EXPECT_THAT(shownTexts(), Contains("Neither the microphone nor the system audio is available"));
    click("dismissError");
    EXPECT_EQ(model().lastError(), std::nullopt);
    EXPECT_EQ(shownItem("Neither the microphone nor the system audio is available"), nullptr);
}

TEST_F(AppWindowControllerTest, TellsWhatATrackLacksWhileAndAfterItIsRecorded) {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
    audioInput_.format.channelCount = 0;
    show();
    record();
    EXPECT_THAT(shownTexts(), Contains("Microphone capture failed: The default microphone audio format is "
                                       "unavailable."));
    EXPECT_EQ(textOf("microphoneTrackState"), QStringLiteral("not available"));
    hearSomething();
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::writeFailed);
    EXPECT_TRUE(shows("The system audio is not being saved. Check the free space on the disk."));
    EXPECT_EQ(textOf("systemAudioTrackState"), QStringLiteral("not being saved"));
    reports_->reportTrackHealth(AudioChannel::speaker, TrackHealthEvent::fileWritten);
    EXPECT_TRUE(shows("Some of the system audio could not be saved."));
    speech_.results.close();
    model().stopRecording();
    EXPECT_TRUE(shows("The recording is being transcribed."));
    EXPECT_THAT(shownTexts(), Contains("Some of the system audio could not be saved."));
    EXPECT_THAT(shownTexts(), Contains("Transcribing"));
    speech_.results.open();
    waitUntilIdle();
    EXPECT_TRUE(shows("Microphone not started"));
    EXPECT_THAT(shownTexts(), Contains("Some of the system audio could not be saved."));
}

TEST_F(AppWindowControllerTest, GroupsTheRecordingsByDay) {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
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
    window().resize(480, 480);
    ASSERT_TRUE(shows("10:00:00"));
    const QQuickItem* const timecode = shownItem("10:00:00");
    const QQuickItem* const speaker = shownItem("相手");
    ASSERT_TRUE(timecode && speaker);
    EXPECT_LT(timecode->mapToScene({timecode->width(), 0}).x(), speaker->mapToScene({0, 0}).x());
    const QQuickItem* const speech = itemBelow(*window().contentItem(), QStringLiteral("speech"));
    ASSERT_TRUE(speech);
    EXPECT_TRUE(QTest::qWaitFor([&] { return speech->mapToScene({speech->width(), 0}).x() < 480; }, 60'000));
    EXPECT_EQ(speech->property("truncated"), false);
}

TEST_F(AppWindowControllerTest, SpeaksNoEnglishInJapanese) {
    const TranscriptDocument transcript{
        {TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 0, 1, "予算は承認されています。",
                           TranscriptSegmentStatus::final)}};
    addFinishedRecording("Sales call 2025-06-02 10:30:00", 1'000, transcript);
    addFinishedRecording("月次の打ち合わせ", 2'000, transcript);
    show();
    const auto expectJapanese = [this](const char* state) {
        for (const std::string& text : shownTexts()) {
            const bool isShortcut = text.starts_with("Ctrl+");
            EXPECT_FALSE(hasLatinWord(text) && !isShortcut && text.find("Markdown") == std::string::npos)
                << state << ": " << text;
        }
    };
    expectJapanese("idle");
    record();
    expectJapanese("recording");
    stop();
    expectJapanese("saved");
    click("languageButton");
    EXPECT_EQ(model().displayLanguage(), DisplayLanguage::english);
    EXPECT_TRUE(QTest::qWaitFor([this] { return textOf("mainButton") == QStringLiteral("Start Recording"); }));
}

} // namespace
} // namespace talkledger
