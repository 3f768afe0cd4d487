#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace talkledger {

/// Where the tray's panel opens, in the coordinates of the screens: beside its icon. Few desktops tell where that is;
/// then the pointer does, if it is where panels are, and otherwise the corner in which most have their tray.
struct TrayPanelPlacement {
    QRect screen;
    QRect icon; ///< empty when nobody knows
    QPoint pointer;

    QPoint position(const QSize& panel) const;
};

} // namespace talkledger
