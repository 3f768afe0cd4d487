#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingRevisions.h"

#include <QObject>
#include <QString>
#include <filesystem>
#include <optional>

namespace talkledger {

/// Moves recordings to the desktop's trash, and takes the last one back. A failure is shown as that of any other
/// action. Main thread.
class RecordingTrash : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)

public:
    /// Both have to outlive this one.
    RecordingTrash(AppModel& model, const RecordingRevisions& revisions);

    bool canUndo() const { return removed_.has_value(); }

    /// Of the recording that was moved last.
    QString title() const;

    /// Not while it is in progress or worked on.
    Q_INVOKABLE bool canRemove(const QString& recordingID) const;
    Q_INVOKABLE void remove(const QString& recordingID);
    Q_INVOKABLE void undo();

    /// It stays where it is.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void changed();
    void restored(const QString& recordingID);

private:
    struct Removed {
        RecordingSession session;
        QString title;
        std::filesystem::path trashed;
    };

    AppModel& model_;
    const RecordingRevisions& revisions_;
    std::optional<Removed> removed_;
};

} // namespace talkledger
