#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <compare>
#include <cstddef>

/// The orders of transcript segments. Start times that are no number come behind all others and are equal to each
/// other; negative and infinite ones stand where their value puts them.
namespace talkledger {

/// For stable sorts.
bool startsBefore(const TranscriptSegment& first, const TranscriptSegment& second);

/// By start time, then the microphone before the speaker; for stable sorts.
bool precedesInTranscript(const TranscriptSegment& first, const TranscriptSegment& second);

/// Where a segment stands in that order; `sequence` tells those apart that would be equal.
struct TranscriptPlace {
    double startTime{0};
    AudioChannel channel{AudioChannel::mic};
    std::size_t sequence{0};

    std::weak_ordering operator<=>(const TranscriptPlace& other) const;

    bool operator==(const TranscriptPlace& other) const { return std::is_eq(*this <=> other); }
};

} // namespace talkledger
