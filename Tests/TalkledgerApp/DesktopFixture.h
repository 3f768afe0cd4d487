#pragma once

#include "TalkledgerApp/AppDelegate.h"
#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerApp/DesktopAppearance.h"
#include "TalkledgerApp/QtDesktop.h"
#include "TalkledgerApp/Quitting.h"
#include "TalkledgerApp/TerminationSignals.h"
#include "TalkledgerApp/TrayIcon.h"

#include <QDBusConnection>
#include <QQuickWindow>
#include <optional>

namespace talkledger::testing {

/// The program on a desktop, over real files and fake devices and engines. What would end it is noted.
class DesktopFixture : public AppFixture {
protected:
    void showProgram() {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        appearance_.emplace(bus);
        revisions_.emplace(makeModel(), QtMainExecutor(context_));
        quitting_.emplace(model(), *revisions_);
        tray_.emplace(model(), *appearance_, bus);
        windows_.emplace(model(), *revisions_, *appearance_, qtDesktop_, *quitting_);
        delegate_.emplace(model(), *windows_, *tray_, *quitting_, singleInstance_, terminationSignals_);
        delegate_->applicationDidFinishLaunching();
        QObject::connect(&*quitting_, &Quitting::finished, [this] { hasEnded_ = true; });
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    }

    QQuickWindow& window() { return *windows_->window(); }

    /// It has been opened.
    QQuickWindow& panel() { return *windows_->panel(); }

    QtDesktop qtDesktop_;
    std::optional<DesktopAppearance> appearance_;
    std::optional<RecordingRevisions> revisions_;
    std::optional<Quitting> quitting_;
    std::optional<TrayIcon> tray_;
    std::optional<AppWindowController> windows_;
    AppSingleInstanceCoordinator singleInstance_{QDBusConnection::sessionBus()};
    TerminationSignals terminationSignals_;
    std::optional<AppDelegate> delegate_;
    bool hasEnded_{false};
};

} // namespace talkledger::testing
