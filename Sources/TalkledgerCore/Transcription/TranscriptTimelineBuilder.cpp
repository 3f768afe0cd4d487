#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include "TalkledgerCore/Transcription/TranscriptDisplayGroup.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <algorithm>
#include <utility>

namespace talkledger {

namespace {

std::vector<DisplaySegment> displaySegments(std::vector<TranscriptSegment> segments) {
    std::stable_sort(segments.begin(), segments.end(), precedesInTranscript);
    std::vector<DisplaySegment> shown;
    for (const TranscriptSegment& segment : segments) {
        if (auto displayed = DisplaySegment::from(segment)) {
            shown.push_back(std::move(*displayed));
        }
    }
    return shown;
}

std::vector<DisplayGroup> displayGroups(const TranscriptDocument& document) {
    std::vector<DisplayGroup> groups;
    for (DisplaySegment& segment : displaySegments(document.segments)) {
        if (!groups.empty() && groups.back().takes(segment)) {
            groups.back().append(segment);
        } else {
            groups.emplace_back(std::move(segment));
        }
    }
    return groups;
}

} // namespace

std::vector<TranscriptTimelineLine> TranscriptTimelineBuilder::buildLines(const TranscriptDocument& document) const {
    std::vector<TranscriptTimelineLine> lines;
    for (const DisplayGroup& group : displayGroups(document)) {
        lines.push_back(group.line(lines.size()));
    }
    return lines;
}

std::vector<TranscriptLineSpan> TranscriptTimelineBuilder::buildSpans(const TranscriptDocument& document) const {
    std::vector<TranscriptLineSpan> spans;
    for (const DisplayGroup& group : displayGroups(document)) {
        spans.push_back(group.span());
    }
    return spans;
}

} // namespace talkledger
