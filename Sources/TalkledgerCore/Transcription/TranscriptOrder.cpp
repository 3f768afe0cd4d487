#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <cmath>

namespace talkledger {

bool startsBefore(const TranscriptSegment& first, const TranscriptSegment& second) {
    if (std::isnan(first.startTime) || std::isnan(second.startTime)) {
        return !std::isnan(first.startTime);
    }
    return first.startTime < second.startTime;
}

bool precedesInTranscript(const TranscriptSegment& first, const TranscriptSegment& second) {
    if (startsBefore(first, second) || startsBefore(second, first)) {
        return startsBefore(first, second);
    }
    return rawValue(first.channel) < rawValue(second.channel);
}

} // namespace talkledger
