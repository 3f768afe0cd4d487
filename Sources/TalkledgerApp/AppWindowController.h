#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/DesktopAppearance.h"
#include "TalkledgerApp/DisplayTexts.h"
#include "TalkledgerApp/QtDesktop.h"
#include "TalkledgerApp/RecordingDetail.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/RecordingRevisions.h"

#include <QObject>
#include <QQmlApplicationEngine>
#include <QString>

class QQuickWindow;

namespace talkledger {

/// Shows the recordings window over the model. The window is made on first use and kept when it is closed. Main thread.
class AppWindowController : public QObject {
    Q_OBJECT

public:
    /// All of them have to outlive it.
    AppWindowController(AppModel& model, RecordingRevisions& revisions, DesktopAppearance& appearance,
                        QtDesktop& desktop);

    /// Places the window anew and brings it to the front. The token is the desktop's leave to do so and may be empty.
    /// Throws when the screens cannot be loaded.
    void showRecordings(const QString& activationToken = {});

    void minimize();

    /// Null before it has been shown.
    QQuickWindow* window() const { return window_; }

Q_SIGNALS:
    void closeRequested();
    void quitRequested();

private:
    void createWindow();
    void place();

    RecordingListModel recordings_;
    RecordingDetail chosenRecording_;
    DisplayTexts texts_;
    QQmlApplicationEngine engine_; ///< destroyed first: the screens look at all of the above
    QQuickWindow* window_{nullptr};
};

} // namespace talkledger
