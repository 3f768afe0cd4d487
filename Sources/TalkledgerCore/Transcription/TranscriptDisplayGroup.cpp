#include "TalkledgerCore/Transcription/TranscriptDisplayGroup.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace talkledger {

namespace {

bool isWrittenWithoutSpaces(char32_t scalar) {
    return (scalar >= U'\u3040' && scalar <= U'\u30FF') || (scalar >= U'\u3400' && scalar <= U'\u9FFF') ||
           (scalar >= U'\uF900' && scalar <= U'\uFAFF') || (scalar >= U'\uFF66' && scalar <= U'\uFF9D');
}

std::string_view separator(std::string_view before, std::string_view after) {
    if (before.empty() || after.empty()) {
        return "";
    }
    constexpr std::size_t mostBytesOfScalar = 4;
    const char32_t last =
        text::scalars(before.substr(before.size() - std::min(before.size(), mostBytesOfScalar))).back();
    const char32_t first = text::scalars(after.substr(0, mostBytesOfScalar)).front();
    if (text::isWhitespaceOrNewline(last) || text::isWhitespaceOrNewline(first)) {
        return "";
    }
    if (isWrittenWithoutSpaces(last) || isWrittenWithoutSpaces(first)) {
        return "";
    }
    return " ";
}

std::string formatTimecode(double seconds) {
    constexpr double longest = 9e18; // what 64 bits hold
    const double shown = std::isfinite(seconds) && seconds >= 0 ? std::min(seconds, longest) : 0;
    const auto total = static_cast<long long>(shown);
    char text[64];
    if (total < 3600) {
        std::snprintf(text, sizeof text, "%02lld:%02lld", total / 60, total % 60);
    } else {
        std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", total / 3600, total % 3600 / 60, total % 60);
    }
    return text;
}

} // namespace

std::optional<DisplaySegment> DisplaySegment::from(const TranscriptSegment& segment) {
    std::string text = text::trimmed(segment.text);
    if (text.empty()) {
        return std::nullopt;
    }
    const double start = std::isfinite(segment.startTime) ? segment.startTime : 0;
    const bool hasLength = std::isfinite(segment.duration) && segment.duration >= 0;
    return DisplaySegment{.channel = segment.channel,
                          .role = segment.role,
                          .status = segment.status,
                          .startTime = start,
                          .endTime = hasLength ? start + segment.duration : start,
                          .text = std::move(text)};
}

DisplayGroup::DisplayGroup(DisplaySegment first) : joined_(std::move(first)) {}

bool DisplayGroup::takes(const DisplaySegment& next) const {
    constexpr double longestGap = 4.0;   // seconds
    constexpr double longestSpan = 45.0; // seconds
    return next.channel == joined_.channel && next.role == joined_.role &&
           next.startTime - joined_.endTime <= longestGap && next.endTime - joined_.startTime <= longestSpan &&
           hasRoomFor(next.text);
}

void DisplayGroup::append(const DisplaySegment& next) {
    joined_.status = next.status;
    joined_.endTime = std::max(joined_.endTime, next.endTime);
    joined_.text.append(separator(joined_.text, next.text)).append(next.text);
}

TranscriptTimelineLine DisplayGroup::line(std::size_t id) const {
    return {.id = id,
            .channel = joined_.channel,
            .role = joined_.role,
            .status = joined_.status,
            .timecode = formatTimecode(joined_.startTime),
            .text = joined_.text};
}

bool DisplayGroup::hasRoomFor(std::string_view text) const {
    constexpr std::size_t mostCharacters = 360;
    // There are at most as many characters as bytes.
    return joined_.text.size() + text.size() <= mostCharacters ||
           text::characterCount(joined_.text) + text::characterCount(text) <= mostCharacters;
}

} // namespace talkledger
