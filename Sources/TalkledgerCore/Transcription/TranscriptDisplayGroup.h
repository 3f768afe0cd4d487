#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace talkledger {

/// A segment as it is shown: its text without white space at the ends, its times finite.
struct DisplaySegment {
    AudioChannel channel{AudioChannel::mic};
    SpeakerRole role{SpeakerRole::me};
    TranscriptSegmentStatus status{TranscriptSegmentStatus::final};
    double startTime{0}; ///< seconds
    double endTime{0};   ///< seconds
    std::string text;

    /// Absent for a blank one.
    static std::optional<DisplaySegment> from(const TranscriptSegment& segment);
};

/// Consecutive segments of one speaker in the making of a line.
class DisplayGroup {
public:
    explicit DisplayGroup(DisplaySegment first);

    /// Whether the next segment follows so closely that it belongs to the same line.
    bool takes(const DisplaySegment& next) const;

    /// Only for a segment that the group takes.
    void append(const DisplaySegment& next);

    TranscriptTimelineLine line(std::size_t id) const;

    TranscriptLineSpan span() const { return {.begin = joined_.startTime, .end = joined_.endTime}; }

private:
    bool hasRoomFor(std::string_view text) const;

    DisplaySegment joined_;
};

} // namespace talkledger
