#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/DesktopAppearance.h"
#include "TalkledgerApp/TrayPicture.h"

#include <QAction>
#include <QActionGroup>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QMenu>
#include <QObject>
#include <QRect>
#include <QSystemTrayIcon>
#include <memory>
#include <optional>
#include <utility>

namespace talkledger {

/// The program in the desktop's tray: its picture tells whether a recording runs, a click asks for the panel, and its
/// menu has the panel's actions, for desktops that show nothing else. Where there is no tray there is no icon; it comes
/// with the first tray that does. Main thread.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    /// All of them have to outlive it; the bus is the session's.
    TrayIcon(AppModel& model, const DesktopAppearance& appearance, QDBusConnection bus);

    /// A tray shows the icon now.
    bool isAvailable() const { return isHosted_ && icon_; }

    TrayFace face() const;

Q_SIGNALS:
    /// `icon` is its place on the screen, empty where the desktop keeps that to itself.
    void panelRequested(const QRect& icon);
    void recordingsRequested();
    void quitRequested();

private:
    Q_SLOT void lookForHost();
    void setIsHosted(bool isHosted);
    void makeMenu();
    void follow();
    void followMenu();

    AppModel& model_;
    const DesktopAppearance& appearance_;
    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    bool isHosted_{false};
    QMenu menu_;
    QActionGroup languages_{nullptr};
    QAction* status_{nullptr}; ///< the actions belong to the menu
    QAction* toggle_{nullptr};
    QAction* recordings_{nullptr};
    QAction* storageFolder_{nullptr};
    QMenu* language_{nullptr};
    QAction* permissions_{nullptr};
    QAction* quit_{nullptr};
    std::unique_ptr<QSystemTrayIcon> icon_; ///< absent before there was a tray
    std::optional<std::pair<TrayFace, bool>> shownPicture_;
};

} // namespace talkledger
