#include "Rehearsal/ScreenReader.h"

#include "Rehearsal/Waiting.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace talkledger::rehearsal {
namespace {

const QString accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");
const QString actionInterface = QStringLiteral("org.a11y.atspi.Action");
const QString sessionName = QStringLiteral("the program's session");
const QString accessibilityName = QStringLiteral("assistive programs");

} // namespace

ScreenReader::ScreenReader(const testing::EnvironmentChanges& environment) {
    const QDBusConnection session = QDBusConnection::connectToBus(
        QString::fromStdString(environment.at("DBUS_SESSION_BUS_ADDRESS").value()), sessionName);
    testing::ChildProcessOptions launcher;
    launcher.arguments = {"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"};
    launcher.environment = environment;
    launcher_ = std::make_unique<testing::ChildProcess>(launcher);
    waitUntil("the bus of assistive programs is there (install at-spi2-core)",
              [&] { return session.interface()->isServiceRegistered(QStringLiteral("org.a11y.Bus")); });
    const QDBusMessage address =
        session.call(QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                                    QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
    bus_.emplace(QDBusConnection::connectToBus(address.arguments().value(0).toString(), accessibilityName));
}

ScreenReader::~ScreenReader() {
    bus_.reset();
    QDBusConnection::disconnectFromBus(accessibilityName);
    QDBusConnection::disconnectFromBus(sessionName);
    launcher_->stop();
}

std::optional<Accessible> ScreenReader::find(const QString& role, const QString& nameBegin) const {
    return find({.program = QStringLiteral("org.a11y.atspi.Registry"),
                 .path = QStringLiteral("/org/a11y/atspi/accessible/root")},
                role, nameBegin);
}

void ScreenReader::press(const Accessible& control) const {
    constexpr int mostActions = 4; // what can have the focus offers that first, and so on
    for (int action = 0; action < mostActions; ++action) {
        const QDBusMessage name = call(control, actionInterface, QStringLiteral("GetName"), {action});
        if (name.arguments().value(0).toString() == QLatin1String("Press")) {
            call(control, actionInterface, QStringLiteral("DoAction"), {action});
            return;
        }
    }
    throw RehearsalError("Something that is shown to assistive programs cannot be pressed.");
}

QDBusMessage ScreenReader::call(const Accessible& accessible, const QString& interface, const QString& method,
                                const QVariantList& arguments) const {
    QDBusMessage message = QDBusMessage::createMethodCall(accessible.program, accessible.path, interface, method);
    message.setArguments(arguments);
    return bus_->call(message);
}

std::vector<Accessible> ScreenReader::children(const Accessible& parent) const {
    std::vector<Accessible> found;
    const QDBusMessage reply = call(parent, accessibleInterface, QStringLiteral("GetChildren"));
    const auto array = reply.arguments().value(0).value<QDBusArgument>();
    if (array.currentType() != QDBusArgument::ArrayType) {
        return found; // it has gone meanwhile
    }
    array.beginArray();
    while (!array.atEnd()) {
        Accessible child;
        QDBusObjectPath path;
        array.beginStructure();
        array >> child.program >> path;
        array.endStructure();
        child.path = path.path();
        found.push_back(child);
    }
    array.endArray();
    return found;
}

std::optional<Accessible> ScreenReader::find(const Accessible& from, const QString& role,
                                             const QString& nameBegin) const {
    const QDBusMessage roleReply = call(from, accessibleInterface, QStringLiteral("GetRoleName"));
    const QDBusMessage nameReply = call(from, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                                        {accessibleInterface, QStringLiteral("Name")});
    if (roleReply.arguments().value(0).toString() == role &&
        nameReply.arguments().value(0).value<QDBusVariant>().variant().toString().startsWith(nameBegin)) {
        return from;
    }
    for (const Accessible& child : children(from)) {
        if (const auto found = find(child, role, nameBegin)) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace talkledger::rehearsal
