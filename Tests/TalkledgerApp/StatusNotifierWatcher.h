#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusContext>
#include <QString>
#include <QStringList>
#include <mutex>

namespace talkledger::testing {

/// The bus's register of tray icons. Programs that know it by its introspection alone find its properties there.
class StatusNotifierWatcher : public QObject, public QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    /// Any thread.
    QStringList items() const {
        const std::lock_guard guard(lock_);
        return items_;
    }

    bool hasHost() const { return true; }

    int protocolVersion() const { return 0; }

    // Named as the bus calls them.
public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers): Qt's compiler asks for it

    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service) {
        {
            const std::lock_guard guard(lock_);
            items_.append(service);
        }
        Q_EMIT StatusNotifierItemRegistered(service);
    }

Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierItemRegistered(const QString& service);
    Q_SCRIPTABLE void StatusNotifierHostRegistered();

private:
    mutable std::mutex lock_;
    QStringList items_;
};

} // namespace talkledger::testing
