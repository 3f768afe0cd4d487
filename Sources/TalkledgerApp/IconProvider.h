#pragma once

#include <QQuickImageProvider>

namespace talkledger {

/// The drawn icons in any colour: "image://icons/stop/c13216" is the icon "stop" in #c13216. Any thread.
class IconProvider : public QQuickImageProvider {
public:
    IconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace talkledger
