#include "TalkledgerApp/TrayPicture.h"

#include "TalkledgerApp/IconProvider.h"

#include <QPixmap>

namespace talkledger {
namespace {

/// What desktops ask for; the drawing's own size and its multiples are the sharpest.
constexpr int extents[] = {16, 22, 24, 32, 44, 66};

QString drawing(TrayFace face) {
    switch (face) {
    case TrayFace::idle:
        return QStringLiteral("tray-idle");
    case TrayFace::recording:
        return QStringLiteral("tray-recording");
    case TrayFace::finishing:
        return QStringLiteral("tray-finishing");
    case TrayFace::attention:
        break;
    }
    return QStringLiteral("tray-attention");
}

/// The drawings are made for light panels.
std::vector<Recolouring> recolourings(bool isPanelDark) {
    if (!isPanelDark) {
        return {{"currentColor", "#1A201D"}};
    }
    return {{"currentColor", "#E7EBE8"}, {"#C13216", "#F0694C"}, {"#B87A00", "#E4B75F"}};
}

} // namespace

QIcon trayPicture(TrayFace face, bool isPanelDark) {
    QIcon picture;
    for (const int extent : extents) {
        picture.addPixmap(
            QPixmap::fromImage(drawIcon(drawing(face), recolourings(isPanelDark), QSize(extent, extent))));
    }
    return picture;
}

} // namespace talkledger
