#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/AppWindowController.h"

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
        collectTexts(*window().contentItem(), texts);
        return texts;
    }

private:
    static void collectTexts(const QQuickItem& item, std::vector<std::string>& texts) {
        if (!item.isVisible()) {
            return;
        }
        const QString text = item.property("text").toString();
        if (!text.isEmpty()) {
            texts.push_back(text.toStdString());
        }
        for (const QQuickItem* const child : item.childItems()) {
            collectTexts(*child, texts);
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
    EXPECT_TRUE(QTest::qWaitFor([this] {
        const auto texts = shownTexts();
        return std::ranges::find(texts, "The budget is approved.") != texts.end();
    }));
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
