#include "TalkledgerApp/DesktopFixture.h"
#include "TalkledgerApp/TrayHost.h"
#include "TalkledgerApp/TrayIcon.h"

namespace talkledger {
namespace {

class TrayIconTest : public testing::DesktopFixture {
protected:
    static bool holds(const QImage& picture, QRgb colour) {
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixel(x, y) == colour) {
                    return true;
                }
            }
        }
        return false;
    }

    static bool offers(testing::TrayHost& host, const QString& text) {
        const auto entry = host.entry(text);
        return entry && entry->isEnabled();
    }

    static bool tellsLive(const QImage& picture) { return holds(picture, 0xFFC13216); }

    static bool tellsAttention(const QImage& picture) { return holds(picture, 0xFFB87A00); }
};

TEST_F(TrayIconTest, ItsMenuStartsAndStopsARecordingThatItsPictureTells) {
    testing::TrayHost host;
    showProgram();
    ASSERT_TRUE(host.hasIcon());
    const QImage idle = host.picture();
    EXPECT_FALSE(idle.isNull() || tellsLive(idle) || tellsAttention(idle));
    EXPECT_EQ(host.toolTip(), QStringLiteral("Talkledger: 準備完了"));

    host.click(QStringLiteral("録音開始"));
    waitUntil([this] { return model().isRecording() && !model().isBusy(); });
    EXPECT_TRUE(tellsLive(host.picture()));
    EXPECT_FALSE(host.entry(QStringLiteral("録音開始")));
    EXPECT_TRUE(host.entry(QStringLiteral("マイクとシステム音声を録音中")));

    hearSomething();
    speech_.results.close();
    host.click(QStringLiteral("録音停止"));
    waitUntil([this] { return model().isBusy(); });
    const QImage finishing = host.picture();
    EXPECT_FALSE(finishing == idle || tellsLive(finishing));
    EXPECT_FALSE(offers(host, QStringLiteral("録音開始")) || offers(host, QStringLiteral("録音停止")));
    speech_.results.open();
    waitUntilIdle();
    EXPECT_EQ(host.picture(), idle);
    EXPECT_TRUE(offers(host, QStringLiteral("録音開始")));

    host.click(QStringLiteral("English"));
    waitUntil([this] { return model().displayLanguage() == DisplayLanguage::english; });
    systemAudio_.contentFailure = "no output";
    host.click(QStringLiteral("Refresh permission status"));
    waitUntil([&] { return tellsAttention(host.picture()); });
    EXPECT_EQ(host.toolTip(), QStringLiteral("Talkledger: Permissions need attention"));
}

TEST_F(TrayIconTest, AClickOpensThePanelAndAnotherOneClosesIt) {
    testing::TrayHost host;
    showProgram();
    ASSERT_TRUE(host.hasIcon());
    window().close();
    waitUntil([this] { return !window().isVisible() && !window().isActive(); });
    host.activate();
    ASSERT_NE(windows_->panel(), nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&panel()));
    EXPECT_TRUE(panel().screen()->availableGeometry().contains(panel().geometry()));
    host.activate();
    waitUntil([this] { return !panel().isVisible() && !panel().isActive(); });
    host.activate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&panel()));
    QTest::keyClick(&panel(), Qt::Key_Escape);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(TrayIconTest, ATrayMayComeLateAndComeBack) {
    showProgram();
    EXPECT_FALSE(tray_->isAvailable());
    {
        testing::TrayHost host;
        ASSERT_TRUE(host.hasIcon());
        EXPECT_TRUE(tray_->isAvailable());
    }
    waitUntil([this] { return !tray_->isAvailable(); });
    testing::TrayHost another;
    ASSERT_TRUE(another.hasIcon());
    EXPECT_TRUE(another.entry(QStringLiteral("録音開始")));
}

} // namespace
} // namespace talkledger
