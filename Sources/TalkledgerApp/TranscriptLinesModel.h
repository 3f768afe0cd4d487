#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <QAbstractListModel>
#include <vector>

namespace talkledger {

/// The lines of one recording's transcript, loaded when the recording is chosen and when its state changes.
class TranscriptLinesModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY linesChanged)
    Q_PROPERTY(QString lastTimecode READ lastTimecode NOTIFY linesChanged)

public:
    enum Role { timecode = Qt::UserRole, speaker, isTrailing, text };

    /// `model` has to outlive it.
    explicit TranscriptLinesModel(const AppModel& model);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return rowCount(); }

    /// The longest one; empty without lines.
    QString lastTimecode() const;

    void setRecordingID(const QString& recordingID);

Q_SIGNALS:
    void linesChanged();

private:
    void load();
    void redrawAll();

    const AppModel& model_;
    QString recordingID_;
    std::vector<TranscriptTimelineLine> lines_;
};

} // namespace talkledger
