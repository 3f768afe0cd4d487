#pragma once

#include "TalkledgerApp/InstanceLockFile.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>

namespace talkledger {

/// Lets one copy of the program run for each user, and hears what the desktop and further copies ask of it over the
/// interface org.freedesktop.Application. The copy that owns the application's name on the session bus is the first
/// one; without a bus it is the one that holds a lock file, and further copies just end. Main thread.
class AppSingleInstanceCoordinator : public QObject {
    Q_OBJECT

public:
    static const QString applicationIdentifier; ///< also the bus name
    static const QString objectPath;

    explicit AppSingleInstanceCoordinator(QDBusConnection bus);

    /// True when another copy runs; it has then been brought forward, and this one has to end. `platformData` is what
    /// the desktop told this copy about its start, such as the token that lets the other one raise its window.
    bool activateExistingInstanceIfNeeded(const QVariantMap& platformData);

    /// Reads that from the environment. Called before the GUI starts, which takes it out.
    static QVariantMap platformDataOfThisStart();

Q_SIGNALS:
    /// Somebody opened the application once more. The token may be empty.
    void activated(const QString& activationToken);

    /// One of the desktop entry's actions was chosen.
    void actionActivated(const QString& name);

private:
    bool claimName();
    bool isOwnerAnotherCopy() const;

    QDBusConnection bus_;
    std::unique_ptr<QDBusAbstractAdaptor> adaptor_;
    std::optional<InstanceLockFile> lockFile_; ///< held where there is no bus
};

} // namespace talkledger
