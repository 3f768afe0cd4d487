#include "TalkledgerCore/Transcription/RecognisedSegment.h"

#include "TalkledgerCore/Support/Text.h"

#include <cmath>
#include <string>
#include <utility>

namespace talkledger {

namespace {

double secondsOrZero(double seconds) {
    return std::isfinite(seconds) ? seconds : 0;
}

} // namespace

std::optional<TranscriptSegment> recognisedSegment(const SpeechTranscriptionResult& result, AudioChannel channel,
                                                   SpeakerRole role) {
    std::string text = text::trimmed(result.text);
    if (text.empty()) {
        return std::nullopt;
    }
    return TranscriptSegment(channel, role, secondsOrZero(result.audioTimeRange.start),
                             secondsOrZero(result.audioTimeRange.duration), std::move(text),
                             result.isFinal ? TranscriptSegmentStatus::final : TranscriptSegmentStatus::partial);
}

} // namespace talkledger
