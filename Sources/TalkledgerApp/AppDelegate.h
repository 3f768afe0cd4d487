#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerApp/Quitting.h"
#include "TalkledgerApp/TerminationSignals.h"
#include "TalkledgerApp/TrayIcon.h"

#include <QObject>
#include <QString>

namespace talkledger {

/// The life of the running copy: shows its window and what the tray asks for, and does what the desktop asks. Main
/// thread.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// All of them have to outlive it.
    AppDelegate(AppModel& model, AppWindowController& windows, TrayIcon& tray, Quitting& quitting,
                AppSingleInstanceCoordinator& singleInstance, TerminationSignals& terminationSignals);

    /// This is the first copy: its window opens.
    void applicationDidFinishLaunching();

    /// The application was opened once more.
    void applicationShouldHandleReopen(const QString& activationToken);

private:
    void performAction(const QString& name);
    void closeWindow();

    AppModel& model_;
    AppWindowController& windows_;
    TrayIcon& tray_;
    Quitting& quitting_;
};

} // namespace talkledger
