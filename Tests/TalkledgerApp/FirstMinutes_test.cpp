#include "TalkledgerApp/FirstMinutes.h"
#include "TalkledgerApp/WindowFixture.h"

#include <vector>

namespace talkledger {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class FirstMinutesTest : public testing::WindowFixture {
protected:
    void hear(float sample) {
        const AudioBuffer buffer =
            testing::makeFloatBuffer(std::vector<float>(4096, sample), 2, std::chrono::steady_clock::now());
        audioInput_.deliver(buffer);
        systemAudio_.deliver({.type = CaptureOutputType::audio, .isDataReady = true, .audio = buffer});
    }

    void open() {
        show();
        click("checkSound");
        waitUntil([this] { return audioInput_.lastTap && !systemAudio_.output.expired(); });
    }
};

TEST_F(FirstMinutesTest, OpenByThemselvesOnceAndMakeWayForARecording) {
    settings_.remove(QStringLiteral("firstMinutesShown"));
    makeModel();
    FirstMinutes first(model());
    first.openOnce();
    EXPECT_TRUE(first.isOpen() && first.isFirstTime());
    record();
    EXPECT_FALSE(first.isOpen());
    stop();
    first.openOnce();
    EXPECT_FALSE(first.isOpen());
    first.open();
    EXPECT_TRUE(first.isOpen() && !first.isFirstTime()) << "there is nothing to be skipped";
}

TEST_F(FirstMinutesTest, ShowWhatIsHeardAndKeepNothingOfIt) {
    open();
    EXPECT_FALSE(systemAudio_.configuration.excludesCurrentProcessAudio) << "the test tone is to be heard";
    hear(0.001F);
    QTest::qWait(0);
    EXPECT_THAT(textsOf("microphoneCheckState"), ElementsAre());
    hear(0.25F);
    EXPECT_TRUE(shows("Sound is arriving"));
    click("playTestTone");
    waitUntil([this] { return playback_.request.has_value(); });
    EXPECT_THAT(log_.calls(), Contains("createFile"));
    EXPECT_EQ(audioFiles_.openFiles, 0) << "only a file that is closed is whole";

    press(Qt::Key_Escape);
    EXPECT_FALSE(isShown("firstMinutesPage"));
    EXPECT_TRUE(systemAudio_.output.expired()) << "nobody listens any more";
    EXPECT_EQ(audioFiles_.writtenBuffers, 1) << "the tone";
    EXPECT_FALSE(std::filesystem::exists(recordingsFolder()) && !std::filesystem::is_empty(recordingsFolder()));
}

TEST_F(FirstMinutesTest, ScrollWithTheKeyboard) {
    open();
    resize(760, 420);
    const auto reach = [this](const char* name, Qt::KeyboardModifiers modifiers) {
        for (int steps = 0; steps < 60 && !item(name)->hasActiveFocus(); ++steps) {
            press(Qt::Key_Tab, modifiers);
        }
        window().grabWindow(); // lays out what has moved
        const QRectF place = item(name)->mapRectToScene(item(name)->boundingRect());
        return item(name)->hasActiveFocus() && place.top() > 0 && place.bottom() <= window().height();
    };
    EXPECT_TRUE(reach("chooseOwnModel", {}));
    EXPECT_TRUE(reach("playTestTone", Qt::ShiftModifier));
    resize(760, 240);
    press(Qt::Key_Comma, Qt::ControlModifier);
    window().grabWindow(); // lays the popover out
    EXPECT_TRUE(reach("quitButton", {}));
    EXPECT_TRUE(reach("openFirstMinutes", {}));
}

TEST_F(FirstMinutesTest, SayWhatIsMissingAndTryAgain) {
    audioInput_.format.channelCount = 0;
    systemAudio_.contentFailure = "no server";
    show();
    press(Qt::Key_Comma, Qt::ControlModifier);
    window().grabWindow(); // lays the popover out
    click("openFirstMinutes");
    waitUntil([this] { return isShown("microphoneCheckFailure") && isShown("systemAudioCheckFailure"); });
    audioInput_.format.channelCount = 1;
    waitUntil([this] { return !isShown("microphoneCheckFailure"); });
    EXPECT_TRUE(isShown("systemAudioCheckFailure"));
    window().showMinimized();
    waitUntil([this] { return !isShown("systemAudioCheckFailure"); });
}

} // namespace
} // namespace talkledger
