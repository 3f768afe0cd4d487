#include "TalkledgerApp/TranscriptLinesModel.h"

#include "TalkledgerCore/Transcription/TranscriptBubblePlacement.h"

#include <algorithm>
#include <utility>

namespace talkledger {

TranscriptLinesModel::TranscriptLinesModel(const AppModel& model, const StoredTranscript& stored)
    : model_(model), stored_(stored) {
    connect(&stored, &StoredTranscript::changed, this, &TranscriptLinesModel::load);
    connect(&model, &AppModel::currentSessionChanged, this, &TranscriptLinesModel::load);
    connect(&model, &AppModel::liveLinesChanged, this,
            qOverload<const std::vector<TranscriptLineChange>&>(&TranscriptLinesModel::apply));
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
    case isPartial:
        return line.status == TranscriptSegmentStatus::partial;
    case text:
        return QString::fromStdString(line.text);
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptLinesModel::roleNames() const {
    return {{timecode, "timecode"},
            {speaker, "speaker"},
            {isTrailing, "isTrailing"},
            {isPartial, "isPartial"},
            {text, "text"}};
}

QString TranscriptLinesModel::lastTimecode() const {
    return lines_.empty() ? QString() : QString::fromStdString(lines_.back().timecode);
}

void TranscriptLinesModel::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        beginResetModel();
        lines_ = currentLines();
        endResetModel();
        Q_EMIT linesChanged();
    }
}

QString TranscriptLinesModel::timecodeAt(int row) const {
    return data(index(row), timecode).toString();
}

int TranscriptLinesModel::rowAt(const QString& timecode) const {
    const std::string latest = timecode.toStdString();
    // A longer one is a later one.
    const auto after = std::ranges::find_if(lines_, [&](const TranscriptTimelineLine& line) {
        return std::pair(line.timecode.size(), line.timecode) > std::pair(latest.size(), latest);
    });
    return static_cast<int>(after - lines_.begin()) - 1;
}

bool TranscriptLinesModel::isLive() const {
    return !recordingID_.isEmpty() && recordingID_ == model_.currentRecordingID();
}

std::vector<TranscriptTimelineLine> TranscriptLinesModel::currentLines() const {
    return isLive() ? model_.liveLines() : stored_.content().lines;
}

void TranscriptLinesModel::load() {
    if (stored_.recordingID() != recordingID_) {
        return; // another one is about to be chosen
    }
    if (!isLive() && stored_.isBeingRead()) {
        return; // what is shown stays in view until then
    }
    const std::vector<TranscriptTimelineLine> lines = currentLines();
    if (lines == lines_) {
        return;
    }
    Q_EMIT aboutToBeReplaced();
    const std::size_t shared = std::min(lines.size(), lines_.size());
    if (shared < lines_.size()) {
        beginRemoveRows({}, static_cast<int>(shared), rowCount() - 1);
        lines_.resize(shared);
        endRemoveRows();
    }
    for (std::size_t row = 0; row < shared; ++row) {
        if (lines_[row] != lines[row]) {
            apply({.kind = TranscriptLineChange::Kind::replaced, .row = row, .line = lines[row]});
        }
    }
    if (shared < lines.size()) {
        beginInsertRows({}, static_cast<int>(shared), static_cast<int>(lines.size()) - 1);
        lines_ = lines;
        endInsertRows();
    }
    Q_EMIT linesChanged();
    Q_EMIT replaced();
}

void TranscriptLinesModel::apply(const std::vector<TranscriptLineChange>& changes) {
    if (!isLive()) {
        return;
    }
    for (const TranscriptLineChange& change : changes) {
        apply(change);
    }
    Q_EMIT linesChanged();
}

void TranscriptLinesModel::apply(const TranscriptLineChange& change) {
    const int row = static_cast<int>(change.row);
    switch (change.kind) {
    case TranscriptLineChange::Kind::inserted:
        beginInsertRows({}, row, row);
        lines_.insert(lines_.begin() + row, change.line);
        endInsertRows();
        break;
    case TranscriptLineChange::Kind::replaced:
        lines_[change.row] = change.line;
        Q_EMIT dataChanged(index(row), index(row));
        break;
    case TranscriptLineChange::Kind::removed:
        beginRemoveRows({}, row, row);
        lines_.erase(lines_.begin() + row);
        endRemoveRows();
        break;
    }
}

void TranscriptLinesModel::redrawAll() {
    if (!lines_.empty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    }
}

} // namespace talkledger
