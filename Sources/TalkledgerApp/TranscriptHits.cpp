#include "TalkledgerApp/TranscriptHits.h"

#include <algorithm>
#include <string>

namespace talkledger {

TranscriptHits::TranscriptHits(const RecordingSearchModel& search, const TranscriptLinesModel& lines)
    : search_(search), lines_(lines) {
    connect(&search, &RecordingSearchModel::typedChanged, this, &TranscriptHits::find);
    connect(&lines, &TranscriptLinesModel::linesChanged, this, [this] {
        isRead_ = false;
        find();
    });
}

void TranscriptHits::readLines() {
    searchable_.clear();
    for (int line = 0; line < lines_.count(); ++line) {
        const QString shown = lines_.data(lines_.index(line), TranscriptLinesModel::text).toString();
        searchable_.push_back(text::searchable(shown.toStdString()));
    }
    isRead_ = true;
}

void TranscriptHits::find() {
    hits_.clear();
    if (search_.isActive() && !isRead_) {
        readLines();
    }
    for (std::size_t line = 0; search_.isActive() && line < searchable_.size(); ++line) {
        const std::size_t count = text::occurrences(searchable_[line], search_.query().words).size();
        for (std::size_t inLine = 0; inLine < count; ++inLine) {
            hits_.push_back({.line = static_cast<int>(line), .inLine = static_cast<int>(inLine)});
        }
    }
    current_ = hits_.empty() ? -1 : 0;
    Q_EMIT changed();
}

void TranscriptHits::step(int hits) {
    if (!hits_.empty()) {
        current_ = (current_ + hits % count() + count()) % count();
        Q_EMIT changed();
    }
}

void TranscriptHits::goToLine(int line) {
    const auto hit = std::ranges::lower_bound(hits_, line, {}, &Hit::line);
    if (!hits_.empty()) {
        current_ = hit == hits_.end() ? 0 : static_cast<int>(hit - hits_.begin());
        Q_EMIT changed();
    }
}

} // namespace talkledger
