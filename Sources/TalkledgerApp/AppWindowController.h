#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/CapturePermissions.h"
#include "TalkledgerApp/DesktopAppearance.h"
#include "TalkledgerApp/DisplayTexts.h"
#include "TalkledgerApp/FirstMinutes.h"
#include "TalkledgerApp/ModelFilesModel.h"
#include "TalkledgerApp/QtDesktop.h"
#include "TalkledgerApp/Quitting.h"
#include "TalkledgerApp/RecordingDetail.h"
#include "TalkledgerApp/RecordingExports.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/RecordingPlayer.h"
#include "TalkledgerApp/RecordingRevisions.h"
#include "TalkledgerApp/RecordingSearchModel.h"
#include "TalkledgerApp/RecordingTrash.h"
#include "TalkledgerApp/SoundCheckModel.h"
#include "TalkledgerApp/TrackNotice.h"
#include "TalkledgerApp/TranscriptHits.h"

#include <QElapsedTimer>
#include <QObject>
#include <QQmlApplicationEngine>
#include <QRect>
#include <QString>

class QQuickWindow;

namespace talkledger {

/// Shows the recordings window and the tray's panel over the model. Each is made on first use and kept when it is
/// closed. Main thread.
class AppWindowController : public QObject {
    Q_OBJECT

public:
    /// All of them have to outlive it.
    AppWindowController(AppModel& model, RecordingRevisions& revisions, DesktopAppearance& appearance,
                        QtDesktop& desktop, Quitting& quitting);

    /// Places the window anew and brings it to the front. The token is the desktop's leave to do so and may be empty.
    /// Throws when the screens cannot be loaded.
    void showRecordings(const QString& activationToken = {});

    void minimize();
    void hide();

    /// Opens the panel beside the tray's icon, whose place may be unknown and then is empty, or closes it.
    void togglePanel(const QRect& trayIcon);

    CapturePermissions& permissions() { return permissions_; }

    FirstMinutes& firstMinutes() { return firstMinutes_; }

    ModelFilesModel& modelFiles() { return modelFiles_; }

    /// Null before it has been shown.
    QQuickWindow* window() const { return window_; }

    QQuickWindow* panel() const { return panel_; }

Q_SIGNALS:
    void closeRequested();
    void quitRequested();

private:
    QQuickWindow* load(const QString& screen);
    void createWindow();
    void createPanel();
    void cutPanelCorners();
    void place();
    Q_SLOT void chooseRecording(const QString& recordingID);

    RecordingListModel recordings_;
    RecordingDetail chosenRecording_;
    RecordingPlayer player_;
    RecordingSearchModel search_;
    TranscriptHits transcriptHits_;
    RecordingTrash trash_;
    RecordingExports exports_;
    TrackNotice trackNotice_;
    CapturePermissions permissions_;
    FirstMinutes firstMinutes_;
    SoundCheckModel soundCheck_;
    ModelFilesModel modelFiles_;
    DisplayTexts texts_;
    QQmlApplicationEngine engine_; ///< destroyed first: the screens look at all of the above
    QQuickWindow* window_{nullptr};
    QQuickWindow* panel_{nullptr};
    QElapsedTimer sincePanelLeft_; ///< invalid until it has lost the focus
};

} // namespace talkledger
