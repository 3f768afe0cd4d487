#include "TalkledgerApp/TrayIcon.h"

#include "TalkledgerApp/ScreenText.h"
#include "TalkledgerCore/Presentation/CapturePermissionPresentation.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

namespace talkledger {
namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

/// GNOME's panel is dark whatever the windows are.
bool isPanelAlwaysDark() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("GNOME"));
}

QString ownName(DisplayLanguage language) {
    return language == DisplayLanguage::english ? QStringLiteral("English") : QStringLiteral("日本語");
}

} // namespace

TrayIcon::TrayIcon(AppModel& model, const DesktopAppearance& appearance, QDBusConnection bus)
    : model_(model),
      appearance_(appearance),
      bus_(std::move(bus)),
      watcher_(watcherService, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
    makeMenu();
    connect(&model, &AppModel::isRecordingChanged, this, &TrayIcon::follow);
    connect(&model, &AppModel::isBusyChanged, this, &TrayIcon::follow);
    connect(&model, &AppModel::statusTextChanged, this, &TrayIcon::follow);
    connect(&model, &AppModel::permissionsChanged, this, &TrayIcon::follow);
    connect(&model, &AppModel::displayLanguageChanged, this, &TrayIcon::follow);
    connect(&appearance, &DesktopAppearance::isDarkChanged, this, &TrayIcon::follow);
    follow();
    if (!bus_.isConnected()) {
        return;
    }
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayIcon::lookForHost);
    bus_.connect(watcherService, watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"), this,
                 SLOT(lookForHost()));
    lookForHost();
}

/// Qt looks for a tray once and for all: it may not be asked before there is one.
void TrayIcon::lookForHost() {
    QDBusMessage read = QDBusMessage::createMethodCall(
        watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    read << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    read.setAutoStartService(false);
    auto* const reading = new QDBusPendingCallWatcher(bus_.asyncCall(read), this);
    connect(reading, &QDBusPendingCallWatcher::finished, this, [this, reading] {
        reading->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *reading;
        setIsHosted(reply.isValid() && reply.value().variant().toBool());
    });
}

void TrayIcon::setIsHosted(bool isHosted) {
    isHosted_ = isHosted;
    if (!isHosted_ || icon_ || !QSystemTrayIcon::isSystemTrayAvailable()) {
        return;
    }
    icon_ = std::make_unique<QSystemTrayIcon>();
    icon_->setContextMenu(&menu_);
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            Q_EMIT panelRequested(icon_->geometry());
        }
    });
    follow();
    icon_->show();
}

void TrayIcon::makeMenu() {
    status_ = menu_.addAction(QString());
    status_->setEnabled(false);
    toggle_ = menu_.addAction(QString(), &model_, &AppModel::toggleRecording);
    menu_.addSeparator();
    recordings_ = menu_.addAction(QString(), this, &TrayIcon::recordingsRequested);
    storageFolder_ = menu_.addAction(QString(), &model_, &AppModel::openStorageFolder);
    language_ = menu_.addMenu(QString());
    for (const DisplayLanguage language : allDisplayLanguages) {
        QAction* const action =
            language_->addAction(ownName(language), this, [this, language] { model_.setDisplayLanguage(language); });
        action->setCheckable(true);
        action->setChecked(language == model_.displayLanguage());
        languages_.addAction(action);
    }
    permissions_ = menu_.addAction(QString(), &model_, &AppModel::requestCapturePermissions);
    menu_.addSeparator();
    quit_ = menu_.addAction(QString(), this, &TrayIcon::quitRequested);
}

TrayFace TrayIcon::face() const {
    if (model_.isStopping()) {
        return TrayFace::finishing;
    }
    if (model_.isRecording()) {
        return TrayFace::recording;
    }
    const bool isInTrouble = model_.statusIsFailure() || needsAttention(model_.permissions());
    return isInTrouble ? TrayFace::attention : TrayFace::idle;
}

void TrayIcon::follow() {
    followMenu();
    if (!icon_) {
        return;
    }
    const std::pair picture(face(), appearance_.isDark() || isPanelAlwaysDark());
    if (std::exchange(shownPicture_, picture) != picture) {
        icon_->setIcon(trayPicture(picture.first, picture.second));
    }
    icon_->setToolTip(screenText(model_.copy().appTitle()) + QStringLiteral(": ") + model_.statusTextForScreen());
}

void TrayIcon::followMenu() {
    const AppCopy copy = model_.copy();
    status_->setText(model_.statusTextForScreen());
    toggle_->setText(model_.recordingAction()[QStringLiteral("title")].toString());
    toggle_->setEnabled(!model_.isBusy());
    recordings_->setText(screenText(copy.recordings()));
    storageFolder_->setText(screenText(copy.openStorageFolder()));
    language_->setTitle(screenText(copy.languageLabel()));
    language_->actions().at(static_cast<int>(model_.displayLanguage()))->setChecked(true);
    permissions_->setText(screenText(copy.refreshPermissionStatus()));
    quit_->setText(screenText(copy.quit()));
}

} // namespace talkledger
