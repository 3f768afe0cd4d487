#include "TalkledgerApp/AppBootstrap.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"
#include "TalkledgerApp/TerminationSignals.h"

#include <QApplication>
#include <QDBusConnection>
#include <QIcon>
#include <QQuickStyle>
#include <csignal>
#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    using namespace talkledger;
    // A worker that has gone and a file at its size limit are failures with a text of their own, not the end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    const QVariantMap platformData = AppSingleInstanceCoordinator::platformDataOfThisStart();
    const QApplication application(argc, argv); // the tray is made of widgets
    QApplication::setApplicationName(QStringLiteral("Talkledger"));
    QApplication::setDesktopFileName(AppSingleInstanceCoordinator::applicationIdentifier);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/talkledger/Icons/app-icon.svg")));
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    try {
        // Before anyone can know that this copy is there: an end that comes while it starts is a clean one too.
        TerminationSignals terminationSignals;
        AppSingleInstanceCoordinator singleInstance(QDBusConnection::sessionBus());
        if (singleInstance.activateExistingInstanceIfNeeded(platformData)) {
            return 0;
        }
        AppBootstrap bootstrap(singleInstance, terminationSignals);
        return bootstrap.run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "talkledger: %s\n", error.what());
        return 1;
    }
}
