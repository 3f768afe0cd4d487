#pragma once

#include <QByteArray>
#include <QQuickImageProvider>
#include <utility>
#include <vector>

namespace talkledger {

/// A colour of a drawing and the one that it gets, as they are written in the drawing.
using Recolouring = std::pair<QByteArray, QByteArray>;

/// The drawn icon of that name in other colours; null when there is none. Without a size it has its own.
QImage drawIcon(const QString& name, const std::vector<Recolouring>& recolourings, const QSize& size);

/// The drawn icons in any colour: "image://icons/stop/c13216" is the icon "stop" in #c13216. Any thread.
class IconProvider : public QQuickImageProvider {
public:
    IconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace talkledger
