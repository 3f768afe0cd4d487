#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/RecordingListModel.h"
#include "TalkledgerApp/StoredTranscript.h"
#include "TalkledgerApp/TranscriptLinesModel.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

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
    Q_PROPERTY(QVariantList summarySections READ summarySections NOTIFY documentsChanged)
    Q_PROPERTY(QString emailDraft READ emailDraft NOTIFY documentsChanged)
    Q_PROPERTY(QVariantList files READ files NOTIFY documentsChanged)
    Q_PROPERTY(QVariantList messages READ messages NOTIFY documentsChanged)
    Q_PROPERTY(bool offersLiveTranscript READ offersLiveTranscript NOTIFY documentsChanged)
    Q_PROPERTY(bool needsAttention READ needsAttention NOTIFY needsAttentionChanged)
    Q_PROPERTY(StoredTranscript* transcript READ transcript CONSTANT)
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

    /// What there is of its summary, and the e-mail that goes with it.
    const QVariantList& summarySections() const { return summarySections_; }

    const QString& emailDraft() const { return emailDraft_; }

    /// Its audio files as they were measured, and the messages of its start and stop; maps.
    const QVariantList& files() const { return files_; }

    const QVariantList& messages() const { return messages_; }

    /// Nothing was found in its files, and there is what was written down while it was in progress.
    bool offersLiveTranscript() const {
        return hasLiveTranscript_ && lines_.count() == 0 && !transcript_.isBeingRead();
    }

    /// A file is empty, or a message tells of a failure.
    bool needsAttention() const { return needsAttention_; }

    StoredTranscript* transcript() { return &transcript_; }

    TranscriptLinesModel* lines() { return &lines_; }

Q_SIGNALS:
    void recordingChosen();
    void changed();
    void problemsChanged();
    void documentsChanged();
    void needsAttentionChanged();

private:
    QString field(RecordingListModel::Role role) const;
    void findProblems();
    std::vector<std::string> problemsOfCurrent() const;
    void readDocuments();

    const AppModel& model_;
    const RecordingListModel& recordings_;
    QString recordingID_;
    RecordingDiagnostics diagnostics_; ///< as they are on the disk
    QStringList problems_;
    QVariantList summarySections_;
    QString emailDraft_;
    QVariantList files_;
    QVariantList messages_;
    bool hasLiveTranscript_{false}; ///< of a recording that is not in progress
    bool needsAttention_{false};
    StoredTranscript transcript_;
    TranscriptLinesModel lines_;
};

} // namespace talkledger
