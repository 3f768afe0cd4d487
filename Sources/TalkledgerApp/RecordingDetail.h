#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/TranscriptLinesModel.h"

#include <QObject>
#include <QString>
#include <QStringList>

namespace talkledger {

/// The recording that is chosen in the window. Choosing none, or one that is gone, leaves its texts empty.
class RecordingDetail : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString recordingID READ recordingID WRITE setRecordingID NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString date READ date NOTIFY changed)
    Q_PROPERTY(QString time READ time NOTIFY changed)
    Q_PROPERTY(QString duration READ duration NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QString statusText READ statusText NOTIFY changed)
    Q_PROPERTY(QStringList problems READ problems NOTIFY problemsChanged)
    Q_PROPERTY(QAbstractItemModel* lines READ lines CONSTANT)

public:
    /// Both have to outlive it.
    RecordingDetail(const AppModel& model, const RecordingListModel& recordings);

    const QString& recordingID() const { return recordingID_; }

    void setRecordingID(const QString& recordingID);

    QString title() const { return field(RecordingListModel::fullTitle); }

    QString date() const { return field(RecordingListModel::date); }

    QString time() const { return field(RecordingListModel::time); }

    QString duration() const { return field(RecordingListModel::duration); }

    QString status() const { return field(RecordingListModel::status); }

    QString statusText() const { return field(RecordingListModel::statusText); }

    /// What the recording lacks, or is lacking just now.
    const QStringList& problems() const { return problems_; }

    TranscriptLinesModel* lines() { return &lines_; }

Q_SIGNALS:
    void recordingChosen();
    void changed();
    void problemsChanged();

private:
    QString field(RecordingListModel::Role role) const;
    void findProblems();

    const AppModel& model_;
    const RecordingListModel& recordings_;
    QString recordingID_;
    QStringList problems_;
    TranscriptLinesModel lines_;
};

} // namespace talkledger
