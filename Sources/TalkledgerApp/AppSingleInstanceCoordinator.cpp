#include "TalkledgerApp/AppSingleInstanceCoordinator.h"

#include "TalkledgerCore/Startup/SingleApplicationInstancePolicy.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QStringList>
#include <memory>

namespace talkledger {
namespace {

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString activationTokenKey = QStringLiteral("activation-token");
const QString startupIdentifierKey = QStringLiteral("desktop-startup-id");

/// The other copy has this long to answer before it is left alone.
constexpr int answerTimeoutMilliseconds = 10'000;

/// The name may change hands between asking for it and looking at its owner; after this many times something is wrong.
constexpr int maximumClaims = 5;

/// The interface of the application's object on the bus.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(AppSingleInstanceCoordinator* coordinator)
        : QDBusAbstractAdaptor(coordinator), coordinator_(coordinator) {}

    Q_SLOT void Activate(const QVariantMap& platformData) {
        Q_EMIT coordinator_->activated(platformData.value(activationTokenKey).toString());
    }

    /// The application opens no documents: being asked to brings it forward.
    Q_SLOT void Open(const QStringList&, const QVariantMap& platformData) { Activate(platformData); }

    Q_SLOT void ActivateAction(const QString& name, const QVariantList&, const QVariantMap&) {
        Q_EMIT coordinator_->actionActivated(name);
    }

private:
    AppSingleInstanceCoordinator* coordinator_;
};

} // namespace

const QString AppSingleInstanceCoordinator::applicationIdentifier = QStringLiteral("app.talkledger.Talkledger");
const QString AppSingleInstanceCoordinator::objectPath = QStringLiteral("/app/talkledger/Talkledger");

AppSingleInstanceCoordinator::AppSingleInstanceCoordinator(QDBusConnection bus)
    : bus_(std::move(bus)), adaptor_(std::make_unique<ApplicationAdaptor>(this)) {}

QVariantMap AppSingleInstanceCoordinator::platformDataOfThisStart() {
    QVariantMap platformData;
    const auto keep = [&](const QString& key, const char* variable) {
        if (qEnvironmentVariableIsSet(variable)) {
            platformData.insert(key, qEnvironmentVariable(variable));
        }
    };
    keep(activationTokenKey, "XDG_ACTIVATION_TOKEN");
    keep(startupIdentifierKey, "DESKTOP_STARTUP_ID");
    return platformData;
}

bool AppSingleInstanceCoordinator::activateExistingInstanceIfNeeded(const QVariantMap& platformData) {
    if (!bus_.isConnected()) {
        lockFile_.emplace(InstanceLockFile::defaultPath());
        return lockFile_->isHeldByAnotherProcess();
    }
    // The object is there before the name is: whoever sees the name can call at once.
    bus_.registerObject(objectPath, this, QDBusConnection::ExportAdaptors);
    for (int claim = 0; claim < maximumClaims; ++claim) {
        if (claimName()) {
            return false;
        }
        if (!isOwnerAnotherCopy()) {
            continue;
        }
        QDBusMessage activate = QDBusMessage::createMethodCall(applicationIdentifier, objectPath, applicationInterface,
                                                               QStringLiteral("Activate"));
        activate.setAutoStartService(false);
        activate << platformData;
        const QDBusMessage answer = bus_.call(activate, QDBus::Block, answerTimeoutMilliseconds);
        const bool hasGone = answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
                             answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
        if (!hasGone) {
            return true;
        }
    }
    return false;
}

bool AppSingleInstanceCoordinator::claimName() {
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus_.interface()->registerService(applicationIdentifier, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    return reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

bool AppSingleInstanceCoordinator::isOwnerAnotherCopy() const {
    // In a sandbox a process knows itself by another number than the bus does: both are the bus's.
    const QDBusReply<uint> own = bus_.interface()->servicePid(bus_.baseService());
    const QDBusReply<uint> owner = bus_.interface()->servicePid(applicationIdentifier);
    if (!own.isValid() || !owner.isValid()) {
        return false;
    }
    const std::string identifier = applicationIdentifier.toStdString();
    return SingleApplicationInstancePolicy()
        .existingInstance(static_cast<std::int32_t>(own.value()), identifier,
                          {{.processIdentifier = static_cast<std::int32_t>(owner.value()),
                            .bundleIdentifier = identifier,
                            .isTerminated = false}})
        .has_value();
}

} // namespace talkledger

#include "AppSingleInstanceCoordinator.moc"
