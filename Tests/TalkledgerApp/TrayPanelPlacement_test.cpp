#include "TalkledgerApp/TrayPanelPlacement.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

constexpr QRect screen(1000, 0, 1440, 900);
constexpr QSize panel(360, 400);

QRect placed(const QRect& icon, const QPoint& pointer) {
    return {TrayPanelPlacement{.screen = screen, .icon = icon, .pointer = pointer}.position(panel), panel};
}

TEST(TrayPanelPlacement, OpensAwayFromTheEdgeThatItsIconIsAt) {
    const QRect below = placed(QRect(1700, 2, 22, 22), {});
    EXPECT_NEAR(below.center().x(), 1711, 2);
    EXPECT_GT(below.top(), 24);
    const QRect above = placed({}, QPoint(1700, 880));
    EXPECT_LT(above.bottom(), 880);
    EXPECT_EQ(above.left(), 1520);
}

TEST(TrayPanelPlacement, StaysOnTheScreenWhereverItsIconIs) {
    for (const QPoint corner : {screen.topLeft(), screen.topRight(), screen.bottomLeft(), screen.bottomRight()}) {
        EXPECT_TRUE(screen.contains(placed({}, corner)));
        EXPECT_TRUE(screen.contains(placed(QRect(corner, QSize(1, 1)), {})));
    }
    const QSize tall(360, 2000);
    EXPECT_EQ((TrayPanelPlacement{.screen = screen, .icon = {}, .pointer = {}}.position(tall).y()), 8)
        << "its head and its button come first";
}

TEST(TrayPanelPlacement, DoesNotFollowAPointerThatIsNotAtATray) {
    const QRect corner = placed({}, screen.topRight());
    EXPECT_EQ(placed({}, screen.center()), corner);
    EXPECT_EQ(placed({}, QPoint(10, 10)), corner) << "on another screen";
}

} // namespace
} // namespace talkledger
