#include "TalkledgerApp/TranscriptLinesModel.h"

#include "TalkledgerCore/Transcription/TranscriptBubblePlacement.h"

#include <utility>

namespace talkledger {

TranscriptLinesModel::TranscriptLinesModel(const AppModel& model) : model_(model) {
    connect(&model, &AppModel::sessionsChanged, this, &TranscriptLinesModel::load);
    connect(&model, &AppModel::displayLanguageChanged, this, &TranscriptLinesModel::redrawAll);
}

int TranscriptLinesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

QVariant TranscriptLinesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const TranscriptTimelineLine& line = lines_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case timecode:
        return QString::fromStdString(line.timecode);
    case speaker:
        return QString::fromStdString(model_.copy().roleLabel(line.role));
    case isTrailing:
        return TranscriptBubblePlacement::side(line.role) == TranscriptBubbleSide::trailing;
    case text:
        return QString::fromStdString(line.text);
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptLinesModel::roleNames() const {
    return {{timecode, "timecode"}, {speaker, "speaker"}, {isTrailing, "isTrailing"}, {text, "text"}};
}

QString TranscriptLinesModel::lastTimecode() const {
    return lines_.empty() ? QString() : QString::fromStdString(lines_.back().timecode);
}

void TranscriptLinesModel::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        load();
    }
}

void TranscriptLinesModel::load() {
    std::vector<TranscriptTimelineLine> lines;
    if (const RecordingSession* const session = model_.session(recordingID_)) {
        lines = TranscriptTimelineBuilder().buildLines(model_.transcript(*session).value_or(TranscriptDocument()));
    }
    if (lines == lines_) {
        return;
    }
    beginResetModel();
    lines_ = std::move(lines);
    endResetModel();
    Q_EMIT linesChanged();
}

void TranscriptLinesModel::redrawAll() {
    if (!lines_.empty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    }
}

} // namespace talkledger
