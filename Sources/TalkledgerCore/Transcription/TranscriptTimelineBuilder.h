#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <cstddef>
#include <string>
#include <vector>

namespace talkledger {

/// One line of a transcript as the user reads it.
struct TranscriptTimelineLine {
    std::size_t id{0}; ///< position in the list
    AudioChannel channel{AudioChannel::mic};
    SpeakerRole role{SpeakerRole::me};
    TranscriptSegmentStatus status{TranscriptSegmentStatus::final};
    std::string timecode;
    std::string text;

    bool operator==(const TranscriptTimelineLine&) const = default;
};

/// When a line was said, in seconds on the recording's time line.
struct TranscriptLineSpan {
    double begin{0};
    double end{0};

    bool operator==(const TranscriptLineSpan&) const = default;
};

/// Merges segments of one speaker that follow each other closely into lines.
struct TranscriptTimelineBuilder {
    std::vector<TranscriptTimelineLine> buildLines(const TranscriptDocument& document) const;

    /// Of the same lines.
    std::vector<TranscriptLineSpan> buildSpans(const TranscriptDocument& document) const;
};

} // namespace talkledger
