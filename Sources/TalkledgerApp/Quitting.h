#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingRevisions.h"

#include <QObject>

namespace talkledger {

/// How the program comes to its end: never before the recording in progress is saved and the one that is worked on
/// afterwards is done, and not without a question when it is the user who ends a recording. Main thread.
class Quitting : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isAsking READ isAsking NOTIFY isAskingChanged)
    Q_PROPERTY(bool isFinishing READ isFinishing NOTIFY isFinishingChanged)

public:
    /// Both have to outlive it.
    Quitting(AppModel& model, RecordingRevisions& revisions);

    /// The user is asked whether the recording in progress shall end.
    bool isAsking() const { return isAsking_; }

    /// Something is under way that the program's end would cut off.
    bool hasToWait() const;

    /// The program ends as soon as that is done.
    bool isFinishing() const { return isFinishing_; }

    /// The user wants to quit. Asks if that would end a recording.
    Q_INVOKABLE void request();

    /// The answers to that question.
    Q_INVOKABLE void stopAndQuit();
    Q_INVOKABLE void keepRecording();

    /// The session ends, or the system asks the program to: nobody may be there to answer.
    void finish();

Q_SIGNALS:
    void isAskingChanged();
    void isFinishingChanged();

    /// Nothing is left to be saved.
    void finished();

private:
    bool recordsOn() const;
    void followModel();
    void continueFinishing();
    void setIsAsking(bool isAsking);
    void setIsFinishing(bool isFinishing);

    AppModel& model_;
    RecordingRevisions& revisions_;
    bool isAsking_{false};
    bool isFinishing_{false};
    bool canStay_{false}; ///< the user is there and can be shown what failed
};

} // namespace talkledger
