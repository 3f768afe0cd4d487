#include "TalkledgerApp/AppWindowController.h"

#include "TalkledgerApp/IconProvider.h"
#include "TalkledgerCore/Startup/WindowFramePlacement.h"

#include <QtQml/qqmlextensionplugin.h>

#include <QFont>
#include <QGuiApplication>
#include <QQmlContext>
#include <QQuickWindow>
#include <QScreen>
#include <QUrl>
#include <memory>
#include <stdexcept>

Q_IMPORT_QML_PLUGIN(TalkledgerPlugin)

namespace talkledger {
namespace {

WindowFrame visibleFrame() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return WindowFramePlacement::fallbackVisibleFrame;
    }
    const QRectF area = screen->availableGeometry();
    return {.x = area.x(), .y = area.y(), .width = area.width(), .height = area.height()};
}

/// Latin and Japanese letters of one x-height, and never Chinese forms of the latter.
QFont screenFont() {
    QFont font = QGuiApplication::font();
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("Noto Sans CJK JP"), QStringLiteral("sans-serif")});
    return font;
}

} // namespace

AppWindowController::AppWindowController(AppModel& model, RecordingRevisions& revisions, DesktopAppearance& appearance,
                                         QtDesktop& desktop)
    : recordings_(model), chosenRecording_(model, recordings_), texts_(model) {
    QGuiApplication::setFont(screenFont());
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine_.addImageProvider(QStringLiteral("icons"), std::make_unique<IconProvider>().release());
    QQmlContext* const context = engine_.rootContext();
    context->setContextProperty(QStringLiteral("appModel"), &model);
    context->setContextProperty(QStringLiteral("revisions"), &revisions);
    context->setContextProperty(QStringLiteral("appearance"), &appearance);
    context->setContextProperty(QStringLiteral("desktop"), &desktop);
    context->setContextProperty(QStringLiteral("recordings"), &recordings_);
    context->setContextProperty(QStringLiteral("chosenRecording"), &chosenRecording_);
    context->setContextProperty(QStringLiteral("texts"), &texts_);
}

void AppWindowController::showRecordings(const QString& activationToken) {
    if (window_ == nullptr) {
        createWindow();
    }
    place();
    if (!activationToken.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    }
    window_->showNormal();
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        window_->raise(); // elsewhere the activation below is all there is, and Qt would warn
    }
    window_->requestActivate();
}

void AppWindowController::minimize() {
    window_->showMinimized();
}

void AppWindowController::createWindow() {
    engine_.load(QUrl(QStringLiteral("qrc:/qt/qml/Talkledger/TalkledgerApp.qml")));
    window_ = engine_.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine_.rootObjects().first());
    if (window_ == nullptr) {
        throw std::runtime_error("The recordings window could not be made: the program's files are not complete.");
    }
    connect(window_, SIGNAL(closeRequested()), this, SIGNAL(closeRequested()));
    connect(window_, SIGNAL(quitRequested()), this, SIGNAL(quitRequested()));
}

void AppWindowController::place() {
    const WindowFramePlacement placement = WindowFramePlacement::recordingsWindow(visibleFrame());
    window_->setMinimumSize(QSizeF(placement.minimumSize.width, placement.minimumSize.height).toSize());
    window_->setGeometry(
        QRectF(placement.frame.x, placement.frame.y, placement.frame.width, placement.frame.height).toRect());
}

} // namespace talkledger
