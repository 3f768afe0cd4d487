#include "TalkledgerApp/AppDelegate.h"
#include "TalkledgerApp/DesktopFixture.h"
#include "TalkledgerApp/ShownItems.h"
#include "TalkledgerApp/TrayHost.h"

namespace talkledger {
namespace {

using testing::click;
using ::testing::Contains;
using testing::itemBelow;
using ::testing::StartsWith;

class AppDelegateTest : public testing::DesktopFixture {};

TEST_F(AppDelegateTest, ClosingTheWindowKeepsTheRecordingAndQuittingBringsAQuestionIntoView) {
    testing::TrayHost host;
    showProgram();
    ASSERT_TRUE(host.hasIcon());
    record();
    window().close();
    waitUntil([this] { return !window().isVisible(); });
    EXPECT_TRUE(model().isRecording());
    host.click(QStringLiteral("終了"));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    waitUntil([this] { return itemBelow(*window().contentItem(), QStringLiteral("keepRecording")) != nullptr; });
    QTest::keyClick(&window(), Qt::Key_Return); // whoever does not read keeps the recording
    EXPECT_FALSE(quitting_->isAsking() || hasEnded_);
    EXPECT_TRUE(model().isRecording());

    QTest::keyClick(&window(), Qt::Key_Q, Qt::ControlModifier);
    waitUntil([this] { return click(window(), "stopAndQuit"); });
    EXPECT_TRUE(window().isVisible()) << "the finishing is shown";
    waitUntil([this] { return hasEnded_; });
    EXPECT_FALSE(model().isRecording());
}

TEST_F(AppDelegateTest, WithoutATrayClosingTheWindowEndsTheProgramUnlessItRecords) {
    showProgram();
    record();
    window().close();
    waitUntil([this] { return window().windowState() == Qt::WindowMinimized; });
    EXPECT_TRUE(model().isRecording());
    EXPECT_FALSE(hasEnded_ || quitting_->isAsking());
    stop();
    windows_->showRecordings();
    window().close();
    waitUntil([this] { return hasEnded_; });
}

TEST_F(AppDelegateTest, TheWindowOffersWhatATrayWould) {
    authorization_.status = AuthorizationStatus::notDetermined;
    showProgram();
    ASSERT_TRUE(click(window(), "permissionsButton"));
    waitUntil([this] { return click(window(), "microphonePermission"); });
    waitUntil([this] { return authorization_.promptCount == 1; });
    authorization_.answer(true);
    QTest::keyClick(&window(), Qt::Key_Escape);
    QTest::keyClick(&window(), Qt::Key_Comma, Qt::ControlModifier);
    waitUntil([this] { return click(window(), "openStorageFolder"); });
    EXPECT_THAT(log_.calls(), Contains(StartsWith("open ")));
    ASSERT_TRUE(click(window(), "settingsButton"));
    waitUntil([this] { return click(window(), "quitButton"); });
    waitUntil([this] { return hasEnded_; });
}

TEST_F(AppDelegateTest, ThePanelStartsARecordingAndLeadsToTheWindow) {
    addFinishedRecording("earlier", 1'000, {});
    addFinishedRecording("latest", 2'000, {});
    showProgram();
    window().hide();
    windows_->togglePanel({});
    ASSERT_TRUE(QTest::qWaitForWindowActive(&panel()));
    QTest::keyClick(&panel(), Qt::Key_R, Qt::ControlModifier);
    waitUntil([this] { return model().isRecording() && !model().isBusy(); });
    ASSERT_TRUE(click(panel(), "panelMainButton"));
    waitUntil([this] { return !model().isRecording() && !model().isBusy(); });
    EXPECT_FALSE(window().isVisible());
    QTest::keyClick(&panel(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    EXPECT_FALSE(panel().isVisible());
}

} // namespace
} // namespace talkledger
