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

} // namespace

std::vector<TranscriptTimelineLine> TranscriptTimelineBuilder::buildLines(const TranscriptDocument& document) const {
    std::vector<DisplayGroup> groups;
    for (DisplaySegment& segment : displaySegments(document.segments)) {
        if (!groups.empty() && groups.back().takes(segment)) {
            groups.back().append(segment);
        } else {
            groups.emplace_back(std::move(segment));
        }
    }
    std::vector<TranscriptTimelineLine> lines;
    lines.reserve(groups.size());
    for (const DisplayGroup& group : groups) {
        lines.push_back(group.line(lines.size()));
    }
    return lines;
}

} // namespace talkledger
