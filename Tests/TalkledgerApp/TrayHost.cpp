#include "TalkledgerApp/TrayHost.h"

#include "TalkledgerApp/StatusNotifierWatcher.h"

#include <QtTest/QTest>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <algorithm>
#include <stdexcept>

namespace talkledger::testing {
namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");
const QString connectionName = QStringLiteral("tray host");
constexpr int patience = 60'000;
constexpr int panelHeight = 22;

const QDBusArgument& operator>>(const QDBusArgument& argument, TrayMenuEntry& entry) {
    argument.beginStructure();
    argument >> entry.id >> entry.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant wrapped;
        argument >> wrapped;
        TrayMenuEntry child;
        wrapped.variant().value<QDBusArgument>() >> child;
        entry.entries.append(child);
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

void collect(const TrayMenuEntry& entry, QList<TrayMenuEntry>& entries) {
    for (const TrayMenuEntry& child : entry.entries) {
        entries.append(child);
        collect(child, entries);
    }
}

/// Of the icon's sizes, the one for an ordinary panel. Their pixels are in network byte order.
QImage pictureOf(const QDBusArgument& pictures) {
    QImage found;
    pictures.beginArray();
    while (!pictures.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        pictures.beginStructure();
        pictures >> width >> height >> pixels;
        pictures.endStructure();
        if (height == panelHeight) {
            found = QImage(width, height, QImage::Format_ARGB32);
            for (int index = 0; index < width * height; ++index) {
                const auto byte = [&](int position) { return static_cast<uchar>(pixels[4 * index + position]); };
                found.setPixel(index % width, index / width, qRgba(byte(1), byte(2), byte(3), byte(0)));
            }
        }
    }
    pictures.endArray();
    return found;
}

} // namespace

QString TrayMenuEntry::text() const {
    return properties.value(QStringLiteral("label")).toString();
}

bool TrayMenuEntry::isEnabled() const {
    return properties.value(QStringLiteral("enabled"), true).toBool();
}

TrayHost::TrayHost(const QString& busAddress)
    : bus_(QDBusConnection::connectToBus(busAddress, connectionName)),
      watcher_(std::make_unique<StatusNotifierWatcher>()) {
    if (!bus_.registerObject(watcherPath, watcher_.get(),
                             QDBusConnection::ExportScriptableContents | QDBusConnection::ExportAllProperties)) {
        throw std::runtime_error("There is no session bus for the tray.");
    }
    watcher_->moveToThread(&thread_);
    thread_.start();
    if (!bus_.registerService(watcherService)) {
        throw std::runtime_error("There is a tray on the session bus already.");
    }
}

TrayHost::~TrayHost() {
    bus_.unregisterService(watcherService);
    watcher_.release()->deleteLater(); // by its thread, as that ends
    thread_.quit();
    thread_.wait();
    QDBusConnection::disconnectFromBus(connectionName);
}

bool TrayHost::hasIcon() {
    return QTest::qWaitFor([this] { return !watcher_->items().isEmpty(); }, patience);
}

QDBusMessage TrayHost::call(const QString& path, const QString& interface, const QString& method,
                            const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(watcher_->items().constLast(), path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall pending = bus_.asyncCall(message);
    if (!QTest::qWaitFor([&] { return pending.isFinished(); }, patience) || pending.isError()) {
        throw std::runtime_error("The tray icon does not answer " + method.toStdString() + ": " +
                                 pending.error().message().toStdString());
    }
    return pending.reply();
}

QVariant TrayHost::property(const QString& name) {
    const QDBusMessage reply =
        call(itemPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {itemInterface, name});
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QString TrayHost::toolTip() {
    const auto argument = property(QStringLiteral("ToolTip")).value<QDBusArgument>();
    QString iconName;
    QString title;
    argument.beginStructure();
    argument >> iconName;
    pictureOf(argument);
    argument >> title;
    argument.endStructure();
    return title;
}

QImage TrayHost::picture() {
    return pictureOf(property(QStringLiteral("IconPixmap")).value<QDBusArgument>());
}

void TrayHost::activate() {
    call(itemPath, itemInterface, QStringLiteral("Activate"), {0, 0});
}

QList<TrayMenuEntry> TrayHost::menu() {
    const auto path = property(QStringLiteral("Menu")).value<QDBusObjectPath>();
    const QDBusMessage reply = call(path.path(), menuInterface, QStringLiteral("GetLayout"), {0, -1, QStringList()});
    TrayMenuEntry root;
    reply.arguments().value(1).value<QDBusArgument>() >> root;
    QList<TrayMenuEntry> entries;
    collect(root, entries);
    return entries;
}

std::optional<TrayMenuEntry> TrayHost::entry(const QString& text) {
    const QList<TrayMenuEntry> entries = menu();
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const TrayMenuEntry& entry) { return entry.text() == text; });
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

void TrayHost::click(const QString& text) {
    const std::optional<TrayMenuEntry> wanted = entry(text);
    if (!wanted) {
        throw std::runtime_error("The tray icon's menu does not offer \"" + text.toStdString() + "\".");
    }
    const auto path = property(QStringLiteral("Menu")).value<QDBusObjectPath>();
    call(path.path(), menuInterface, QStringLiteral("Event"),
         {wanted->id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
}

} // namespace talkledger::testing
