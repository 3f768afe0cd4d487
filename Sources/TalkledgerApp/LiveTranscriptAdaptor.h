#pragma once

#include "TalkledgerApp/AppModel.h"

#include <QDBusAbstractAdaptor>
#include <QObject>
#include <QString>
#include <QStringList>

namespace talkledger {

/// Lets other programs of this user read the conversation while it is recorded, as captions on the desktop would:
/// the interface app.talkledger.LiveTranscript of the application's object on the session bus. Main thread.
class LiveTranscriptAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.talkledger.LiveTranscript")

public:
    /// `application` is the object that is on the bus. Both have to outlive it.
    LiveTranscriptAdaptor(const AppModel& model, QObject& application);

    /// Those that are being transcribed, as the segments name them.
    Q_SLOT QStringList ListeningChannels() const;

    /// Of the recording in progress, as "transcript.json" has it in the end; without segments when there is none.
    Q_SLOT QString Transcript() const;

    /// What has been made of it so far, as "summary.json" has it in the end; empty before the first one.
    Q_SLOT QString Summary() const;

private:
    const AppModel& model_;
};

} // namespace talkledger
