#include "TalkledgerApp/DesktopAppearance.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <memory>
#include <utility>

namespace talkledger {
namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");
constexpr uint prefersDark = 1;

/// The portal's answer to a read wraps the value twice, its signal once.
QVariant unwrapped(const QDBusVariant& value) {
    QVariant inner = value.variant();
    while (inner.canConvert<QDBusVariant>()) {
        inner = inner.value<QDBusVariant>().variant();
    }
    return inner;
}

} // namespace

DesktopAppearance::DesktopAppearance(QDBusConnection bus) {
    if (!bus.isConnected()) {
        return;
    }
    // Without the registration the connection would be refused in silence.
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                SLOT(applySetting(QString, QString, QDBusVariant)));
    QDBusMessage read =
        QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    read << appearanceGroup << colorSchemeKey;
    auto watcher = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(read));
    connect(watcher.get(), &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        if (reply.isValid()) {
            applySetting(appearanceGroup, colorSchemeKey, reply.value());
        }
        finished->deleteLater();
    });
    watcher.release()->setParent(this);
}

void DesktopAppearance::applySetting(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group != appearanceGroup || key != colorSchemeKey) {
        return;
    }
    const bool isDark = unwrapped(value).toUInt() == prefersDark;
    if (std::exchange(isDark_, isDark) != isDark) {
        Q_EMIT isDarkChanged();
    }
}

} // namespace talkledger
