#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <cmath>

namespace talkledger {

namespace {

std::weak_ordering orderOfTimes(double first, double second) {
    if (std::isnan(first) || std::isnan(second)) {
        return std::isnan(first) <=> std::isnan(second);
    }
    return first < second   ? std::weak_ordering::less
           : first > second ? std::weak_ordering::greater
                            : std::weak_ordering::equivalent;
}

std::weak_ordering orderInTranscript(double firstStart, AudioChannel firstChannel, double secondStart,
                                     AudioChannel secondChannel) {
    const std::weak_ordering order = orderOfTimes(firstStart, secondStart);
    return std::is_neq(order) ? order : rawValue(firstChannel) <=> rawValue(secondChannel);
}

} // namespace

bool startsBefore(const TranscriptSegment& first, const TranscriptSegment& second) {
    return std::is_lt(orderOfTimes(first.startTime, second.startTime));
}

bool precedesInTranscript(const TranscriptSegment& first, const TranscriptSegment& second) {
    return std::is_lt(orderInTranscript(first.startTime, first.channel, second.startTime, second.channel));
}

std::weak_ordering TranscriptPlace::operator<=>(const TranscriptPlace& other) const {
    const std::weak_ordering order = orderInTranscript(startTime, channel, other.startTime, other.channel);
    return std::is_neq(order) ? order : sequence <=> other.sequence;
}

} // namespace talkledger
