#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// Removes the microphone's echoes of the other party's voice: a microphone segment goes when it overlaps in time with
/// a speaker segment of the same or nearly the same text. Speaker segments always stay, and nothing is changed in what
/// stays. Texts are equal when their scalars are; times that are no number overlap nothing.
class TranscriptSourceSeparator {
public:
    /// `overlapTolerance`, in seconds, widens each segment at both ends; `similarityThreshold` is a ratio from 0 to 1.
    TranscriptSourceSeparator(double overlapTolerance, double similarityThreshold);

    /// In the order of start times.
    std::vector<TranscriptSegment> suppressMicrophoneEchoes(const std::vector<TranscriptSegment>& segments) const;
    TranscriptDocument suppressMicrophoneEchoes(const TranscriptDocument& document) const;

    /// Lower-cased, without white space, punctuation and symbols.
    static std::string normalizedText(std::string_view text);

    /// Of two lists of characters; memory in proportion to the second one.
    static std::size_t longestCommonSubsequenceLength(const std::vector<std::string>& outer,
                                                      const std::vector<std::string>& inner);

private:
    double overlapTolerance_;
    double similarityThreshold_;
};

} // namespace talkledger
