#include "TalkledgerApp/TrayPanelPlacement.h"

#include <algorithm>

namespace talkledger {
namespace {

constexpr int margin = 8;      ///< to the screen's edges
constexpr int offset = 16;     ///< to the icon's middle, or the pointer
constexpr int panelReach = 80; ///< as far as a desktop's panel and dock reach into the screen

} // namespace

QPoint TrayPanelPlacement::position(const QSize& panel) const {
    const QRect inner = screen.adjusted(panelReach, panelReach, -panelReach, -panelReach);
    const bool isPointerAtEdge = screen.contains(pointer) && !inner.contains(pointer);
    const QPoint anchor = !icon.isEmpty() ? icon.center() : isPointerAtEdge ? pointer : screen.topRight();
    const bool opensDown = anchor.y() < screen.center().y();
    const QPoint wanted(anchor.x() - panel.width() / 2,
                        opensDown ? anchor.y() + offset : anchor.y() - offset - panel.height());
    const QRect room = screen.adjusted(margin, margin, -margin - panel.width(), -margin - panel.height());
    return {std::clamp(wanted.x(), room.left(), std::max(room.left(), room.right())),
            std::clamp(wanted.y(), room.top(), std::max(room.top(), room.bottom()))};
}

} // namespace talkledger
