#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <vector>

namespace talkledger {

/// Removes the microphone's echoes of the other party's voice: a microphone segment goes when it overlaps in time with
/// a speaker segment of the same or nearly the same text. Speaker segments always stay, and nothing is changed in what
/// stays. Texts are equal when their scalars are; times that are no number overlap nothing.
struct TranscriptSourceSeparator {
    double overlapTolerance;    ///< seconds by which each segment is widened at both ends
    double similarityThreshold; ///< from 0 to 1; a microphone segment that is at least so similar is an echo

    /// In the order of start times.
    std::vector<TranscriptSegment> suppressMicrophoneEchoes(const std::vector<TranscriptSegment>& segments) const;
    TranscriptDocument suppressMicrophoneEchoes(const TranscriptDocument& document) const;
};

/// What both live and recorded transcripts are separated with.
inline constexpr TranscriptSourceSeparator recordingSourceSeparator{.overlapTolerance = 1.0,
                                                                    .similarityThreshold = 0.82};

} // namespace talkledger
