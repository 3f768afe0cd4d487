#include "TalkledgerApp/AppDelegate.h"

#include <QGuiApplication>
#include <QSessionManager>

namespace talkledger {

AppDelegate::AppDelegate(AppModel& model, AppWindowController& windows, TrayIcon& tray, Quitting& quitting,
                         AppSingleInstanceCoordinator& singleInstance, TerminationSignals& terminationSignals)
    : model_(model), windows_(windows), tray_(tray), quitting_(quitting) {
    // Ending the program is decided here alone: Qt would drop a recording with the last window.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(&singleInstance, &AppSingleInstanceCoordinator::activated, this,
            &AppDelegate::applicationShouldHandleReopen);
    connect(&singleInstance, &AppSingleInstanceCoordinator::actionActivated, this, &AppDelegate::performAction);
    connect(&windows, &AppWindowController::closeRequested, this, &AppDelegate::closeWindow);
    connect(&windows, &AppWindowController::quitRequested, &quitting, &Quitting::request);
    connect(&tray, &TrayIcon::panelRequested, &windows, &AppWindowController::togglePanel);
    connect(&tray, &TrayIcon::recordingsRequested, &windows, [&windows] { windows.showRecordings(); });
    connect(&tray, &TrayIcon::quitRequested, &quitting, &Quitting::request);
    connect(&terminationSignals, &TerminationSignals::terminationRequested, &quitting, &Quitting::finish);
    connect(&quitting, &Quitting::isAskingChanged, &windows, [&quitting, &windows] {
        if (quitting.isAsking()) {
            windows.showRecordings();
        }
    });
    connect(&quitting, &Quitting::finished, qGuiApp, [] { QCoreApplication::exit(); });
    connect(
        qGuiApp, &QGuiApplication::commitDataRequest, this,
        [this](QSessionManager& session) {
            if (quitting_.hasToWait()) {
                session.cancel(); // the one way to make the desktop wait until the recording is saved
            }
            quitting_.finish();
        },
        Qt::DirectConnection);
}

void AppDelegate::applicationDidFinishLaunching() {
    windows_.showRecordings();
    windows_.permissions().refresh();
    windows_.firstMinutes().openOnce();
}

void AppDelegate::applicationShouldHandleReopen(const QString& activationToken) {
    windows_.showRecordings(activationToken);
}

void AppDelegate::performAction(const QString& name) {
    if (name == QLatin1String("start-recording") && !model_.isRecording()) {
        model_.startRecording();
    } else if (name == QLatin1String("stop-recording") && model_.isRecording()) {
        model_.stopRecording();
    }
}

/// It never ends a recording. Where no tray shows the program, a window that is gone could not be found again: it is
/// put away as long as there is something to see to, and otherwise the program ends with it.
void AppDelegate::closeWindow() {
    if (tray_.isAvailable()) {
        windows_.hide();
    } else if (quitting_.hasToWait()) {
        windows_.minimize();
    } else {
        quitting_.request();
    }
}

} // namespace talkledger
