#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The rules of the conversation without any economy, as the measure of what the program does fast.
namespace talkledger::reference {

struct PlainConversation {
    std::vector<TranscriptSegment> finalSegments;
    std::map<std::pair<AudioChannel, SpeakerRole>, TranscriptSegment> partialSegments;

    void apply(TranscriptSegment segment);
    TranscriptDocument liveTranscript() const;
};

std::string normalizedText(std::string_view text);
std::size_t longestCommonSubsequenceLength(const std::vector<std::string>& outer,
                                           const std::vector<std::string>& inner);

TranscriptDocument suppressMicrophoneEchoes(const TranscriptDocument& document, double overlapTolerance,
                                            double similarityThreshold);

} // namespace talkledger::reference
