#pragma once

#include <QtTest/QTest>

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>

namespace talkledger::testing {

/// The item of that name in or below another; null when there is none. Delegates are no QObject children of the window:
/// the items are walked.
inline QQuickItem* itemBelow(QQuickItem& item, const QString& name) {
    if (item.objectName() == name) {
        return &item;
    }
    for (QQuickItem* const child : item.childItems()) {
        if (QQuickItem* const found = itemBelow(*child, name)) {
            return found;
        }
    }
    return nullptr;
}

/// False when the window shows no such item that can be used. What has just been opened is laid out first, as for a
/// picture.
inline bool click(QQuickWindow& window, const char* name) {
    window.grabWindow();
    const QQuickItem* const item = itemBelow(*window.contentItem(), QString::fromLatin1(name));
    if (item == nullptr || !item->isVisible() || !item->isEnabled()) {
        return false;
    }
    const QPointF middle = item->mapToScene({item->width() / 2, item->height() / 2});
    if (!window.contentItem()->contains(middle)) {
        return false;
    }
    QTest::mouseClick(&window, Qt::LeftButton, {}, middle.toPoint());
    return true;
}

} // namespace talkledger::testing
