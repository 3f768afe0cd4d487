#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

namespace talkledger {

namespace {

struct DisplaySegment {
    AudioChannel channel;
    SpeakerRole role;
    TranscriptSegmentStatus status;
    double startTime;
    double endTime;
    std::string text;
};

bool isWrittenWithoutSpaces(char32_t scalar) {
    return (scalar >= U'\u3040' && scalar <= U'\u30FF') || (scalar >= U'\u3400' && scalar <= U'\u9FFF') ||
           (scalar >= U'\uF900' && scalar <= U'\uFAFF') || (scalar >= U'\uFF66' && scalar <= U'\uFF9D');
}

/// Consecutive segments of one speaker in the making of a line.
struct DisplayGroup {
    DisplaySegment joined;

    static std::string_view separator(std::string_view before, std::string_view after) {
        if (before.empty() || after.empty()) {
            return "";
        }
        const char32_t last = text::scalars(before).back();
        const char32_t first = text::scalars(after).front();
        if (text::isWhitespaceOrNewline(last) || text::isWhitespaceOrNewline(first) || isWrittenWithoutSpaces(last) ||
            isWrittenWithoutSpaces(first)) {
            return "";
        }
        return " ";
    }

    bool takes(const DisplaySegment& next) const {
        constexpr double longestGap = 4.0;   // seconds
        constexpr double longestSpan = 45.0; // seconds
        return next.channel == joined.channel && next.role == joined.role &&
               next.startTime - joined.endTime <= longestGap && next.endTime - joined.startTime <= longestSpan &&
               hasRoomFor(next.text);
    }

    void append(const DisplaySegment& next) {
        joined.status = next.status;
        joined.endTime = std::max(joined.endTime, next.endTime);
        joined.text.append(separator(joined.text, next.text)).append(next.text);
    }

private:
    bool hasRoomFor(std::string_view text) const {
        constexpr std::size_t mostCharacters = 360;
        // There are at most as many characters as bytes.
        return joined.text.size() + text.size() <= mostCharacters ||
               text::characterCount(joined.text) + text::characterCount(text) <= mostCharacters;
    }
};

std::vector<DisplaySegment> displaySegments(std::vector<TranscriptSegment> segments) {
    std::stable_sort(segments.begin(), segments.end(), precedesInTranscript);
    std::vector<DisplaySegment> shown;
    for (const TranscriptSegment& segment : segments) {
        std::string text = text::trimmed(segment.text);
        if (text.empty()) {
            continue;
        }
        const double start = std::isfinite(segment.startTime) ? segment.startTime : 0;
        const bool hasLength = std::isfinite(segment.duration) && segment.duration >= 0;
        shown.push_back({.channel = segment.channel,
                         .role = segment.role,
                         .status = segment.status,
                         .startTime = start,
                         .endTime = hasLength ? start + segment.duration : start,
                         .text = std::move(text)});
    }
    return shown;
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

std::vector<TranscriptTimelineLine> TranscriptTimelineBuilder::buildLines(const TranscriptDocument& document) const {
    std::vector<DisplayGroup> groups;
    for (DisplaySegment& segment : displaySegments(document.segments)) {
        if (!groups.empty() && groups.back().takes(segment)) {
            groups.back().append(segment);
        } else {
            groups.push_back({.joined = std::move(segment)});
        }
    }
    std::vector<TranscriptTimelineLine> lines;
    lines.reserve(groups.size());
    for (DisplayGroup& group : groups) {
        lines.push_back({.id = lines.size(),
                         .channel = group.joined.channel,
                         .role = group.joined.role,
                         .status = group.joined.status,
                         .timecode = formatTimecode(group.joined.startTime),
                         .text = std::move(group.joined.text)});
    }
    return lines;
}

} // namespace talkledger
