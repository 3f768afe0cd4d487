#include "TalkledgerApp/AppWindowController.h"

#include "TalkledgerApp/IconProvider.h"
#include "TalkledgerApp/TrayPanelPlacement.h"
#include "TalkledgerCore/Startup/WindowFramePlacement.h"

#include <QtQml/qqmlextensionplugin.h>

#include <QCursor>
#include <QFont>
#include <QGuiApplication>
#include <QPainterPath>
#include <QQmlContext>
#include <QQuickWindow>
#include <QRegion>
#include <QScreen>
#include <QUrl>
#include <QVariant>
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

/// A click on the tray takes the focus from the panel before it reaches the program.
constexpr qint64 clickMilliseconds = 300;

/// Latin and Japanese letters of one x-height, and never Chinese forms of the latter.
QFont screenFont() {
    QFont font = QGuiApplication::font();
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("Noto Sans CJK JP"), QStringLiteral("sans-serif")});
    return font;
}

} // namespace

AppWindowController::AppWindowController(AppModel& model, RecordingRevisions& revisions, DesktopAppearance& appearance,
                                         QtDesktop& desktop, Quitting& quitting)
    : recordings_(model),
      chosenRecording_(model, recordings_),
      player_(model, *chosenRecording_.transcript()),
      search_(model, recordings_),
      transcriptHits_(search_, *chosenRecording_.lines()),
      trash_(model, revisions),
      exports_(model),
      trackNotice_(model),
      permissions_(model),
      firstMinutes_(model),
      soundCheck_(model),
      modelFiles_(model, ModelFilesModel::knownFiles()),
      texts_(model) {
    connect(&quitting, &Quitting::isFinishingChanged, &modelFiles_, [this, &quitting] {
        if (quitting.isFinishing()) {
            modelFiles_.pauseDownloads();
        }
    });
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
    context->setContextProperty(QStringLiteral("permissions"), &permissions_);
    context->setContextProperty(QStringLiteral("firstMinutes"), &firstMinutes_);
    context->setContextProperty(QStringLiteral("soundCheck"), &soundCheck_);
    context->setContextProperty(QStringLiteral("modelFiles"), &modelFiles_);
    context->setContextProperty(QStringLiteral("quitting"), &quitting);
    context->setContextProperty(QStringLiteral("player"), &player_);
    context->setContextProperty(QStringLiteral("search"), &search_);
    context->setContextProperty(QStringLiteral("transcriptHits"), &transcriptHits_);
    context->setContextProperty(QStringLiteral("trash"), &trash_);
    context->setContextProperty(QStringLiteral("exports"), &exports_);
    context->setContextProperty(QStringLiteral("trackNotice"), &trackNotice_);
    context->setContextProperty(QStringLiteral("texts"), &texts_);
    connect(&chosenRecording_, &RecordingDetail::recordingChosen, this,
            [this] { player_.setRecordingID(chosenRecording_.recordingID()); });
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

void AppWindowController::hide() {
    window_->hide();
}

void AppWindowController::togglePanel(const QRect& trayIcon) {
    if (panel_ == nullptr) {
        createPanel();
    }
    const bool hasJustLeft = sincePanelLeft_.isValid() && !sincePanelLeft_.hasExpired(clickMilliseconds);
    if (panel_->isVisible() || hasJustLeft) {
        sincePanelLeft_.invalidate();
        panel_->hide();
        return;
    }
    const QPoint pointer = trayIcon.isEmpty() ? QCursor::pos() : trayIcon.center();
    const QScreen* const pointed = QGuiApplication::screenAt(pointer);
    const QScreen& screen = pointed == nullptr ? *panel_->screen() : *pointed;
    const TrayPanelPlacement placement{.screen = screen.availableGeometry(), .icon = trayIcon, .pointer = pointer};
    panel_->setPosition(placement.position(panel_->size()));
    panel_->show();
    panel_->requestActivate();
}

QQuickWindow* AppWindowController::load(const QString& screen) {
    const qsizetype earlier = engine_.rootObjects().size();
    engine_.load(QUrl(QStringLiteral("qrc:/qt/qml/Talkledger/%1.qml").arg(screen)));
    auto* const window =
        engine_.rootObjects().size() > earlier ? qobject_cast<QQuickWindow*>(engine_.rootObjects().last()) : nullptr;
    if (window == nullptr) {
        throw std::runtime_error("A window could not be made: the program's files are not complete.");
    }
    connect(window, SIGNAL(quitRequested()), this, SIGNAL(quitRequested()));
    return window;
}

void AppWindowController::createWindow() {
    window_ = load(QStringLiteral("TalkledgerApp"));
    connect(window_, SIGNAL(closeRequested()), this, SIGNAL(closeRequested()));
}

void AppWindowController::createPanel() {
    panel_ = load(QStringLiteral("MenuBarPanel"));
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        connect(panel_, &QWindow::heightChanged, this, &AppWindowController::cutPanelCorners);
        cutPanelCorners();
    }
    connect(panel_, SIGNAL(recordingsRequested(QString)), this, SLOT(chooseRecording(QString)));
    connect(panel_, &QWindow::activeChanged, this, [this] {
        if (!panel_->isActive() && panel_->isVisible()) {
            panel_->hide();
            sincePanelLeft_.start();
        }
    });
}

/// Where nothing composes the windows, what is see-through would be black.
void AppWindowController::cutPanelCorners() {
    QPainterPath outline;
    const qreal radius = panel_->property("cornerRadius").toReal();
    outline.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(panel_->size())), radius, radius);
    panel_->setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void AppWindowController::chooseRecording(const QString& recordingID) {
    showRecordings();
    if (!recordingID.isEmpty()) {
        QMetaObject::invokeMethod(window_, "chooseRecording", Q_ARG(QVariant, recordingID));
    }
}

void AppWindowController::place() {
    const WindowFramePlacement placement = WindowFramePlacement::recordingsWindow(visibleFrame());
    window_->setMinimumSize(QSizeF(placement.minimumSize.width, placement.minimumSize.height).toSize());
    window_->setGeometry(
        QRectF(placement.frame.x, placement.frame.y, placement.frame.width, placement.frame.height).toRect());
}

} // namespace talkledger
