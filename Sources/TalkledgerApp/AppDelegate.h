#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerApp/TerminationSignals.h"

#include <QObject>
#include <QString>

namespace talkledger {

/// The life of the running copy: shows its window, does what the desktop asks, and ends the program only when no
/// recording is in progress any more. Main thread.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// All of them have to outlive it.
    AppDelegate(AppModel& model, AppWindowController& windows, AppSingleInstanceCoordinator& singleInstance,
                TerminationSignals& terminationSignals);

    /// This is the first copy: its window opens.
    void applicationDidFinishLaunching();

    /// The application was opened once more.
    void applicationShouldHandleReopen(const QString& activationToken);

    /// Finishes the recording, if there is one, and then ends the event loop.
    void quit();

private:
    void performAction(const QString& name);
    void closeWindow();
    void continueQuitting();

    AppModel& model_;
    AppWindowController& windows_;
    bool isQuitting_{false};
};

} // namespace talkledger
