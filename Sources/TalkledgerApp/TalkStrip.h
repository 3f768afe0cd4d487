#pragma once

#include <QtQml/qqmlregistration.h>

#include <QColor>
#include <QQuickPaintedItem>
#include <QVariantList>

namespace talkledger {

/// Who speaks when in a recording, as blocks in two lanes: the customer's above, the user's own below. What lies ahead
/// can be dimmed.
class TalkStrip : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariantList talk MEMBER talk_ WRITE setTalk)
    Q_PROPERTY(double duration MEMBER duration_ WRITE setDuration)
    Q_PROPERTY(double position MEMBER position_ WRITE setPosition)
    Q_PROPERTY(bool dimsWhatIsAhead MEMBER dimsWhatIsAhead_ WRITE setDimsWhatIsAhead)
    Q_PROPERTY(QColor customerColor MEMBER customerColor_ WRITE setCustomerColor)
    Q_PROPERTY(QColor ownColor MEMBER ownColor_ WRITE setOwnColor)
    Q_PROPERTY(QColor ruleColor MEMBER ruleColor_ WRITE setRuleColor)

public:
    void setTalk(const QVariantList& talk);
    void setDuration(double duration);
    void setPosition(double position);
    void setDimsWhatIsAhead(bool dims);
    void setCustomerColor(const QColor& color);
    void setOwnColor(const QColor& color);
    void setRuleColor(const QColor& color);

    void paint(QPainter* painter) override;

private:
    struct Block {
        double begin;
        double end;
        bool isOwn;
    };

    QVariantList talk_;
    QList<Block> blocks_;
    double duration_{0};
    double position_{0};
    bool dimsWhatIsAhead_{false};
    QColor customerColor_;
    QColor ownColor_;
    QColor ruleColor_;
};

} // namespace talkledger
