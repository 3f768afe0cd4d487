#include "TalkledgerApp/AppDelegate.h"

#include <QGuiApplication>
#include <QSessionManager>

namespace talkledger {

AppDelegate::AppDelegate(AppModel& model, AppWindowController& windows, AppSingleInstanceCoordinator& singleInstance,
                         TerminationSignals& terminationSignals)
    : model_(model), windows_(windows) {
    // Ending the program is decided here alone: Qt would drop a recording with the last window.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(&singleInstance, &AppSingleInstanceCoordinator::activated, this,
            &AppDelegate::applicationShouldHandleReopen);
    connect(&singleInstance, &AppSingleInstanceCoordinator::actionActivated, this, &AppDelegate::performAction);
    connect(&windows, &AppWindowController::closeRequested, this, &AppDelegate::closeWindow);
    connect(&windows, &AppWindowController::quitRequested, this, &AppDelegate::quit);
    connect(&terminationSignals, &TerminationSignals::terminationRequested, this, &AppDelegate::quit);
    connect(&model, &AppModel::isBusyChanged, this, &AppDelegate::continueQuitting);
    connect(
        qGuiApp, &QGuiApplication::commitDataRequest, this,
        [this](QSessionManager& session) {
            if (model_.isRecording() || model_.isBusy()) {
                session.cancel(); // the one way to make the desktop wait until the recording is saved
            }
            quit();
        },
        Qt::DirectConnection);
}

void AppDelegate::applicationDidFinishLaunching() {
    windows_.showRecordings();
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

/// Without a window nobody could stop the recording, so it is put away rather than closed.
void AppDelegate::closeWindow() {
    if (model_.isRecording() || model_.isBusy()) {
        windows_.minimize();
    } else {
        quit();
    }
}

void AppDelegate::quit() {
    isQuitting_ = true;
    continueQuitting();
}

void AppDelegate::continueQuitting() {
    if (!isQuitting_ || model_.isBusy()) {
        return;
    }
    if (model_.isRecording()) {
        model_.stopRecording();
    } else {
        QCoreApplication::exit();
    }
}

} // namespace talkledger
