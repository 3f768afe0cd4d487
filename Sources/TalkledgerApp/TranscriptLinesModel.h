#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/StoredTranscript.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <QAbstractListModel>
#include <cstddef>
#include <vector>

namespace talkledger {

/// The lines of one recording's transcript: those of the recording in progress as they come, and the stored ones of any
/// other. Only another recording resets them, so that selection and scrolling stay while a line is added or corrected
/// and when the final transcript takes the place of the live one.
class TranscriptLinesModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY linesChanged)
    Q_PROPERTY(QString lastTimecode READ lastTimecode NOTIFY linesChanged)

public:
    enum Role { timecode = Qt::UserRole, speaker, isTrailing, isPartial, text };

    /// Both have to outlive it.
    TranscriptLinesModel(const AppModel& model, const StoredTranscript& stored);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return rowCount(); }

    /// The longest one; empty without lines.
    QString lastTimecode() const;

    /// Of the same recording as the stored ones.
    void setRecordingID(const QString& recordingID);

    Q_INVOKABLE QString timecodeAt(int row) const;

    /// The last line that begins no later; -1 when there is none.
    Q_INVOKABLE int rowAt(const QString& timecode) const;

Q_SIGNALS:
    void linesChanged();

    /// The same recording gets another transcript.
    void aboutToBeReplaced();
    void replaced();

private:
    bool isLive() const;
    std::vector<TranscriptTimelineLine> currentLines() const;
    void load();
    void apply(const std::vector<TranscriptLineChange>& changes);
    void apply(const TranscriptLineChange& change);
    void redrawAll();

    const AppModel& model_;
    const StoredTranscript& stored_;
    QString recordingID_;
    std::vector<TranscriptTimelineLine> lines_;
};

} // namespace talkledger
