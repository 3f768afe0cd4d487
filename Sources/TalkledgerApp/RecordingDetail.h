#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/TranscriptLinesModel.h"

#include <QObject>
#include <QString>

namespace talkledger {

/// The recording that is chosen in the window. Choosing none, or one that is gone, leaves its texts empty.
class RecordingDetail : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString recordingID READ recordingID WRITE setRecordingID NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString startTime READ startTime NOTIFY changed)
    Q_PROPERTY(QString duration READ duration NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QAbstractItemModel* lines READ lines CONSTANT)

public:
    /// Both have to outlive it.
    RecordingDetail(const AppModel& model, const RecordingListModel& recordings);

    const QString& recordingID() const { return recordingID_; }

    void setRecordingID(const QString& recordingID);

    QString title() const { return field(RecordingListModel::title); }

    QString startTime() const { return field(RecordingListModel::startTime); }

    QString duration() const { return field(RecordingListModel::duration); }

    QString status() const { return field(RecordingListModel::status); }

    TranscriptLinesModel* lines() { return &lines_; }

Q_SIGNALS:
    void changed();

private:
    QString field(RecordingListModel::Role role) const;

    const RecordingListModel& recordings_;
    QString recordingID_;
    TranscriptLinesModel lines_;
};

} // namespace talkledger
