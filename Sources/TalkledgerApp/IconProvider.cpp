#include "TalkledgerApp/IconProvider.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>

namespace talkledger {

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    QFile file(QStringLiteral(":/talkledger/Icons/%1.svg").arg(id.section(QLatin1Char('/'), 0, 0)));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray drawing = file.readAll().replace("currentColor", "#" + id.section(QLatin1Char('/'), 1).toUtf8());
    QBuffer buffer(&drawing);
    QImageReader reader(&buffer, "svg");
    if (requestedSize.isValid()) {
        reader.setScaledSize(requestedSize);
    }
    QImage image = reader.read();
    if (size != nullptr) {
        *size = image.size();
    }
    return image;
}

} // namespace talkledger
