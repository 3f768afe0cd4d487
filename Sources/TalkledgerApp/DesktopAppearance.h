#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace talkledger {

/// Whether the desktop is set to dark, as its portal tells; light where there is none. Main thread.
class DesktopAppearance : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isDark READ isDark NOTIFY isDarkChanged)

public:
    explicit DesktopAppearance(QDBusConnection bus);

    bool isDark() const { return isDark_; }

Q_SIGNALS:
    void isDarkChanged();

private:
    Q_SLOT void applySetting(const QString& group, const QString& key, const QDBusVariant& value);

    bool isDark_{false};
};

} // namespace talkledger
