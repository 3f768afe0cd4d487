#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// The real program as a screen reader meets it.
namespace talkledger {
namespace {

using testing::ChildProcess;
using testing::EnvironmentChanges;

const QString accessibleInterface = QStringLiteral("org.a11y.atspi.Accessible");

/// Something that the program shows to assistive programs.
struct Accessible {
    QString program;
    QString path;
};

std::unique_ptr<ChildProcess> start(const std::string& program, const std::vector<std::string>& arguments,
                                    const EnvironmentChanges& environment) {
    testing::ChildProcessOptions options;
    options.arguments = {program};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    options.environment = environment;
    return std::make_unique<ChildProcess>(options);
}

class AccessibilityTest : public ::testing::Test {
protected:
    AccessibilityTest() {
        EnvironmentChanges environment = home_.environment();
        environment["XDG_RUNTIME_DIR"] = runtimeFolder_.path();
        environment["XDG_DATA_HOME"] = "/proc/nowhere";              // where nothing can be written
        environment["PIPEWIRE_RUNTIME_DIR"] = runtimeFolder_.path(); // no sound
        environment["PIPEWIRE_CONFIG_DIR"] = runtimeFolder_.path();  // as where PipeWire is not even installed
        environment["PIPEWIRE_DEBUG"] = "0";
        environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
        const QDBusConnection session = QDBusConnection::connectToBus(
            QString::fromStdString(*environment["DBUS_SESSION_BUS_ADDRESS"]), sessionName);
        launcher_ = start("/usr/libexec/at-spi-bus-launcher", {"--launch-immediately"}, environment);
        rehearsal::waitUntil("the bus of assistive programs is there (install at-spi2-core)",
                             [&] { return session.interface()->isServiceRegistered(QStringLiteral("org.a11y.Bus")); });
        const QDBusMessage address =
            session.call(QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                                        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
        bus_.emplace(QDBusConnection::connectToBus(address.arguments().value(0).toString(), accessibilityName));
        program_ = start(TALKLEDGER_PROGRAM, {}, environment);
    }

    ~AccessibilityTest() override {
        program_->stop();
        bus_.reset();
        QDBusConnection::disconnectFromBus(accessibilityName);
        QDBusConnection::disconnectFromBus(sessionName);
        launcher_->stop();
    }

    /// Waits for it, among all that is shown.
    Accessible await(const QString& role, const QString& name) {
        std::optional<Accessible> found;
        rehearsal::waitUntil(role.toStdString() + " \"" + name.toStdString() + "\" is told to assistive programs", [&] {
            if (!program_->isRunning()) {
                throw rehearsal::RehearsalError("The program has ended: " + program_->standardError());
            }
            found = find({.program = QStringLiteral("org.a11y.atspi.Registry"),
                          .path = QStringLiteral("/org/a11y/atspi/accessible/root")},
                         role, name);
            return found.has_value();
        });
        return *found;
    }

    void press(const Accessible& button) {
        const QDBusMessage reply =
            call(button, QStringLiteral("org.a11y.atspi.Action"), QStringLiteral("DoAction"), {0});
        EXPECT_TRUE(reply.arguments().value(0).toBool()) << reply.errorMessage().toStdString();
    }

    std::string standardError() { return program_->standardError(); }

private:
    QDBusMessage call(const Accessible& accessible, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) {
        QDBusMessage message = QDBusMessage::createMethodCall(accessible.program, accessible.path, interface, method);
        message.setArguments(arguments);
        return bus_->call(message);
    }

    std::vector<Accessible> children(const Accessible& parent) {
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

    std::optional<Accessible> find(const Accessible& from, const QString& role, const QString& name) {
        const QDBusMessage roleReply = call(from, accessibleInterface, QStringLiteral("GetRoleName"));
        const QDBusMessage nameReply = call(from, QStringLiteral("org.freedesktop.DBus.Properties"),
                                            QStringLiteral("Get"), {accessibleInterface, QStringLiteral("Name")});
        if (roleReply.arguments().value(0).toString() == role &&
            nameReply.arguments().value(0).value<QDBusVariant>().variant().toString() == name) {
            return from;
        }
        for (const Accessible& child : children(from)) {
            if (const auto found = find(child, role, name)) {
                return found;
            }
        }
        return std::nullopt;
    }

    static inline const QString sessionName = QStringLiteral("the program's session");
    static inline const QString accessibilityName = QStringLiteral("assistive programs");

    const rehearsal::PrivateHome home_;
    const testing::TemporaryFolder runtimeFolder_;
    std::unique_ptr<ChildProcess> launcher_;
    std::optional<QDBusConnection> bus_;
    std::unique_ptr<ChildProcess> program_;
};

TEST_F(AccessibilityTest, AScreenReaderFindsAndPressesTheButtonsInEitherLanguage) {
    const QString button = QStringLiteral("push button");
    await(button, QStringLiteral("Start Recording"));
    await(button, QStringLiteral("Capture Permissions"));
    press(await(button, QStringLiteral("Language")));
    press(await(button, QStringLiteral("録音開始")));
    await(QStringLiteral("status bar"), QStringLiteral("録音機能を使用できません")); // there is nowhere to keep it
    EXPECT_EQ(standardError(), "");
}

} // namespace
} // namespace talkledger
