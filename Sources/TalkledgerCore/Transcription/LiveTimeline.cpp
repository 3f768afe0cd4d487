#include "TalkledgerCore/Transcription/LiveTimeline.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace talkledger {

namespace {

/// The position of the first element that is not before what is looked for; found in no more steps than the logarithm
/// of its distance from the end, where most changes are.
template <typename List, typename IsBefore>
std::size_t firstNotBefore(const List& list, const IsBefore& isBefore) {
    std::size_t end = list.size();
    for (std::size_t step = 1; end > 0; step *= 2) {
        const std::size_t probe = end - std::min(step, end);
        if (isBefore(list[probe])) {
            const auto first = list.begin() + static_cast<std::ptrdiff_t>(probe) + 1;
            const auto last = list.begin() + static_cast<std::ptrdiff_t>(end);
            return static_cast<std::size_t>(std::partition_point(first, last, isBefore) - list.begin());
        }
        end = probe;
    }
    return 0;
}

} // namespace

void LiveTimeline::show(const TranscriptPlace& place, const TranscriptSegment& segment) {
    const std::size_t position = positionOf(place);
    if (!isShownAt(position, place)) {
        shown_.insert(iteratorTo(position), std::make_unique<Shown>(Shown{.place = place, .segment = std::nullopt}));
    }
    shown_[position]->segment = DisplaySegment::from(segment);
    changed_.push_back(place);
}

void LiveTimeline::hide(const TranscriptPlace& place) {
    const std::size_t position = positionOf(place);
    if (isShownAt(position, place)) {
        shown_[position]->segment.reset();
        changed_.push_back(place);
    }
}

std::vector<TranscriptLineChange> LiveTimeline::takeChanges() {
    std::sort(changed_.begin(), changed_.end());
    std::vector<TranscriptLineChange> changes;
    for (auto change = changed_.cbegin(); change != changed_.cend();) {
        change = regroup(change, changes);
    }
    eraseHidden();
    changed_.clear();
    return changes;
}

std::vector<TranscriptLineChange> LiveTimeline::clear() {
    shown_.clear();
    changed_.clear();
    std::vector<TranscriptLineChange> changes;
    replaceLines(0, lines_.size(), {}, changes);
    return changes;
}

std::vector<TranscriptTimelineLine> LiveTimeline::lines() const {
    std::vector<TranscriptTimelineLine> lines;
    lines.reserve(lines_.size());
    for (const Line& line : lines_) {
        lines.push_back(line.content);
        lines.back().id = lines.size() - 1;
    }
    return lines;
}

/// Only now, since most of what is hidden is shown anew at the same place.
void LiveTimeline::eraseHidden() {
    for (const TranscriptPlace& place : changed_) {
        const std::size_t position = positionOf(place);
        if (isShownAt(position, place) && !shown_[position]->segment) {
            shown_.erase(iteratorTo(position));
        }
    }
}

std::size_t LiveTimeline::positionOf(const TranscriptPlace& place) const {
    return firstNotBefore(shown_, [&](const auto& shown) { return shown->place < place; });
}

bool LiveTimeline::isShownAt(std::size_t position, const TranscriptPlace& place) const {
    return position < shown_.size() && shown_[position]->place == place;
}

LiveTimeline::ShownSegments::iterator LiveTimeline::iteratorTo(std::size_t position) {
    return shown_.begin() + static_cast<std::ptrdiff_t>(position);
}

std::size_t LiveTimeline::rowNotBefore(const TranscriptPlace& place) const {
    return firstNotBefore(lines_, [&](const Line& line) { return line.first < place; });
}

bool LiveTimeline::beginsLine(const TranscriptPlace& place, std::size_t row) const {
    return row < lines_.size() && lines_[row].first == place &&
           !std::binary_search(changed_.begin(), changed_.end(), place);
}

/// Makes the lines around a change anew: from the line before it, which may take now what follows, to where a line
/// begins as it did before. Returns the next change behind that.
LiveTimeline::Places::const_iterator LiveTimeline::regroup(Places::const_iterator change,
                                                           std::vector<TranscriptLineChange>& changes) {
    const std::size_t rowBehind = rowNotBefore(*change);
    const std::size_t firstRow = rowBehind == 0 ? 0 : rowBehind - 1;
    std::vector<Group> groups;
    for (std::size_t position = positionOf(rowBehind == 0 ? *change : lines_[firstRow].first); position < shown_.size();
         ++position) {
        const auto& [place, segment] = *shown_[position];
        if (!segment) {
            continue;
        }
        if (!groups.empty() && groups.back().group.takes(*segment)) {
            groups.back().group.append(*segment);
            continue;
        }
        const std::size_t row = rowNotBefore(place);
        if (!groups.empty() && beginsLine(place, row)) {
            replaceLines(firstRow, row, groups, changes);
            return std::lower_bound(change, changed_.cend(), place);
        }
        groups.push_back({.first = place, .group = DisplayGroup(*segment)});
    }
    replaceLines(firstRow, lines_.size(), groups, changes);
    return changed_.cend();
}

void LiveTimeline::replaceLines(std::size_t firstRow, std::size_t endRow, const std::vector<Group>& groups,
                                std::vector<TranscriptLineChange>& changes) {
    std::vector<Line> lines;
    lines.reserve(groups.size());
    for (const Group& group : groups) {
        lines.push_back({.first = group.first, .content = group.group.line(0)});
    }
    const auto begin = lines_.begin() + static_cast<std::ptrdiff_t>(firstRow);
    const auto end = lines_.begin() + static_cast<std::ptrdiff_t>(endRow);
    tellDifferences(firstRow, {begin, end}, lines, changes);
    const auto kept = static_cast<std::ptrdiff_t>(std::min(lines.size(), endRow - firstRow));
    const auto behind = std::move(lines.begin(), lines.begin() + kept, begin);
    if (behind == end) {
        lines_.insert(end, std::make_move_iterator(lines.begin() + kept), std::make_move_iterator(lines.end()));
    } else {
        lines_.erase(behind, end);
    }
}

/// Lines that are the same at both ends are left alone.
void LiveTimeline::tellDifferences(std::size_t row, std::span<const Line> before, std::span<const Line> after,
                                   std::vector<TranscriptLineChange>& changes) {
    while (!before.empty() && !after.empty() && before.front().content == after.front().content) {
        before = before.subspan(1);
        after = after.subspan(1);
        ++row;
    }
    while (!before.empty() && !after.empty() && before.back().content == after.back().content) {
        before = before.first(before.size() - 1);
        after = after.first(after.size() - 1);
    }
    using Kind = TranscriptLineChange::Kind;
    for (std::size_t index = 0; index < after.size(); ++index, ++row) {
        changes.push_back({.kind = index < before.size() ? Kind::replaced : Kind::inserted,
                           .row = row,
                           .line = after[index].content});
        changes.back().line.id = row;
    }
    for (std::size_t index = after.size(); index < before.size(); ++index) {
        changes.push_back({.kind = Kind::removed, .row = row, .line = {}});
    }
}

} // namespace talkledger
