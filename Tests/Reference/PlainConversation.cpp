#include "Reference/PlainConversation.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cmath>

namespace talkledger::reference {

namespace {

bool isEarlier(double first, double second) {
    return std::isnan(first) ? false : std::isnan(second) || first < second;
}

bool startsBefore(const TranscriptSegment& first, const TranscriptSegment& second) {
    return isEarlier(first.startTime, second.startTime);
}

bool precedes(const TranscriptSegment& first, const TranscriptSegment& second) {
    if (isEarlier(first.startTime, second.startTime) || isEarlier(second.startTime, first.startTime)) {
        return isEarlier(first.startTime, second.startTime);
    }
    return rawValue(first.channel) < rawValue(second.channel);
}

double similarity(const std::string& first, const std::string& second) {
    const std::string a = normalizedText(first);
    const std::string b = normalizedText(second);
    if (a.empty() || b.empty()) {
        return 0;
    }
    if (a == b || a.find(b) != std::string::npos || b.find(a) != std::string::npos) {
        return 1;
    }
    const std::vector<std::string> charactersOfA = text::characters(a);
    const std::vector<std::string> charactersOfB = text::characters(b);
    const auto [fewer, more] = std::minmax({charactersOfA.size(), charactersOfB.size()});
    if (fewer < 4) {
        return 0;
    }
    return static_cast<double>(longestCommonSubsequenceLength(charactersOfA, charactersOfB)) /
           static_cast<double>(more);
}

bool overlap(const TranscriptSegment& first, const TranscriptSegment& second, double tolerance) {
    const auto low = [&](const TranscriptSegment& each) { return each.startTime - tolerance; };
    const auto high = [&](const TranscriptSegment& each) {
        return each.startTime + (each.duration > 0 ? each.duration : 0) + tolerance;
    };
    return low(first) < high(second) && low(second) < high(first);
}

} // namespace

void PlainConversation::apply(TranscriptSegment segment) {
    segment.text = text::trimmed(segment.text);
    if (segment.text.empty()) {
        return;
    }
    if (segment.status == TranscriptSegmentStatus::partial) {
        partialSegments[{segment.channel, segment.role}] = segment;
        return;
    }
    partialSegments.erase({segment.channel, segment.role});
    for (TranscriptSegment& known : finalSegments) {
        if (known.channel == segment.channel && known.role == segment.role && known.startTime == segment.startTime) {
            known = segment;
            return;
        }
    }
    finalSegments.push_back(segment);
}

TranscriptDocument PlainConversation::liveTranscript() const {
    TranscriptDocument transcript{finalSegments};
    for (const auto& [key, segment] : partialSegments) {
        transcript.segments.push_back(segment);
    }
    std::stable_sort(transcript.segments.begin(), transcript.segments.end(), precedes);
    return transcript;
}

std::string normalizedText(std::string_view text) {
    std::u32string kept;
    for (const char32_t scalar : text::scalars(text::lowercased(text))) {
        if (!text::isWhitespaceOrNewline(scalar) && !text::isPunctuation(scalar) && !text::isSymbol(scalar)) {
            kept += scalar;
        }
    }
    return text::fromScalars(kept);
}

std::size_t longestCommonSubsequenceLength(const std::vector<std::string>& outer,
                                           const std::vector<std::string>& inner) {
    std::vector<std::size_t> previous(inner.size() + 1, 0);
    std::vector<std::size_t> current(inner.size() + 1, 0);
    for (const std::string& character : outer) {
        for (std::size_t index = 0; index < inner.size(); ++index) {
            current[index + 1] =
                character == inner[index] ? previous[index] + 1 : std::max(current[index], previous[index + 1]);
        }
        std::swap(previous, current);
    }
    return previous.back();
}

TranscriptDocument suppressMicrophoneEchoes(const TranscriptDocument& document, double overlapTolerance,
                                            double similarityThreshold) {
    std::vector<TranscriptSegment> speakers;
    for (const TranscriptSegment& segment : document.segments) {
        if (segment.channel == AudioChannel::speaker) {
            speakers.push_back(segment);
        }
    }
    TranscriptDocument kept;
    for (const TranscriptSegment& segment : document.segments) {
        const bool isEcho = segment.channel != AudioChannel::speaker &&
                            std::any_of(speakers.begin(), speakers.end(), [&](const TranscriptSegment& speaker) {
                                return overlap(segment, speaker, overlapTolerance) &&
                                       similarity(segment.text, speaker.text) >= similarityThreshold;
                            });
        if (!isEcho) {
            kept.segments.push_back(segment);
        }
    }
    std::stable_sort(kept.segments.begin(), kept.segments.end(), startsBefore);
    return kept;
}

} // namespace talkledger::reference
