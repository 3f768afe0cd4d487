#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QImage>
#include <QList>
#include <QString>
#include <QThread>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <mutex>
#include <optional>

namespace talkledger::testing {

/// An entry of the menu as the tray is told of it.
struct TrayMenuEntry {
    int id{0};
    QVariantMap properties;
    QList<TrayMenuEntry> entries;

    QString text() const;
    bool isEnabled() const;
};

class StatusNotifierWatcher;

/// A desktop's tray: the watcher that programs announce their icons to, and the host that shows them and passes clicks
/// on. The watcher answers in a thread of its own, since programs wait for it. Whatever asks the program runs the event
/// loop until it has answered, and throws if it does not.
class TrayHost {
public:
    /// On the bus of that address.
    explicit TrayHost(const QString& busAddress = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    ~TrayHost();
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    /// Waits for an icon; false if none comes.
    bool hasIcon();
    QString toolTip();

    /// The icon as it stands in a panel of ordinary height.
    QImage picture();

    /// A click with the left button.
    void activate();

    /// All entries, those of submenus behind the one that opens them.
    QList<TrayMenuEntry> menu();

    /// The one of that text; absent when there is none.
    std::optional<TrayMenuEntry> entry(const QString& text);

    /// Throws when there is no such entry.
    void click(const QString& text);

private:
    QVariant property(const QString& name);
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments);

    QDBusConnection bus_;
    QThread thread_;
    std::unique_ptr<StatusNotifierWatcher> watcher_; ///< lives in the thread
};

} // namespace talkledger::testing
