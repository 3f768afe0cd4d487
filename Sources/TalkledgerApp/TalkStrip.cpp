#include "TalkledgerApp/TalkStrip.h"

#include <QPainter>
#include <QVariantMap>
#include <algorithm>

namespace talkledger {
namespace {

constexpr double blockHeight = 9;
constexpr double blockRadius = 1.5;
constexpr double fromMiddle = 3.5;
constexpr float ahead = 0.42F;

} // namespace

void TalkStrip::setTalk(const QVariantList& talk) {
    talk_ = talk;
    blocks_.clear();
    for (const QVariant& entry : talk) {
        const QVariantMap block = entry.toMap();
        blocks_.push_back({.begin = block.value(QStringLiteral("begin")).toDouble(),
                           .end = block.value(QStringLiteral("end")).toDouble(),
                           .isOwn = block.value(QStringLiteral("isMine")).toBool()});
    }
    update();
}

void TalkStrip::setDuration(double duration) {
    duration_ = duration;
    update();
}

void TalkStrip::setPosition(double position) {
    position_ = position;
    if (dimsWhatIsAhead_) {
        update();
    }
}

void TalkStrip::setDimsWhatIsAhead(bool dims) {
    dimsWhatIsAhead_ = dims;
    update();
}

void TalkStrip::setCustomerColor(const QColor& color) {
    customerColor_ = color;
    update();
}

void TalkStrip::setOwnColor(const QColor& color) {
    ownColor_ = color;
    update();
}

void TalkStrip::setRuleColor(const QColor& color) {
    ruleColor_ = color;
    update();
}

void TalkStrip::paint(QPainter* painter) {
    const double middle = height() / 2;
    painter->fillRect(QRectF(0, middle - 0.5, width(), 1), ruleColor_);
    if (duration_ <= 0) {
        return;
    }
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    for (const Block& block : std::as_const(blocks_)) {
        const double left = std::clamp(block.begin / duration_, 0.0, 1.0) * width();
        const double right = std::clamp(block.end / duration_, 0.0, 1.0) * width();
        const double top = block.isOwn ? middle + fromMiddle : middle - fromMiddle - blockHeight;
        QColor color = block.isOwn ? ownColor_ : customerColor_;
        color.setAlphaF(dimsWhatIsAhead_ && block.begin > position_ ? ahead : 1.0F);
        painter->setBrush(color);
        painter->drawRoundedRect(QRectF(left, top, std::max(right - left, 1.5), blockHeight), blockRadius, blockRadius);
    }
}

} // namespace talkledger
