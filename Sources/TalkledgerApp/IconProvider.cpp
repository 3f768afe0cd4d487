#include "TalkledgerApp/IconProvider.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>

namespace talkledger {

QImage drawIcon(const QString& name, const std::vector<Recolouring>& recolourings, const QSize& size) {
    QFile file(QStringLiteral(":/talkledger/Icons/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray drawing = file.readAll();
    for (const auto& [original, colour] : recolourings) {
        drawing.replace(original, colour);
    }
    QBuffer buffer(&drawing);
    QImageReader reader(&buffer, "svg");
    if (size.isValid()) {
        reader.setScaledSize(size);
    }
    return reader.read();
}

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const QChar separator = QLatin1Char('/');
    QImage image = drawIcon(id.section(separator, 0, 0), {{"currentColor", "#" + id.section(separator, 1).toUtf8()}},
                            requestedSize);
    if (size != nullptr) {
        *size = image.size();
    }
    return image;
}

} // namespace talkledger
