#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <algorithm>
#include <optional>

namespace talkledger {

namespace {

struct TimeSpan {
    double low;
    double high;

    TimeSpan(const TranscriptSegment& segment, double tolerance)
        : low(segment.startTime - tolerance),
          high(segment.startTime + (segment.duration > 0 ? segment.duration : 0) + tolerance) {}

    bool overlaps(const TimeSpan& other) const { return low < other.high && other.low < high; }
};

/// A segment made ready for comparisons; its texts are worked out when the first comparison needs them.
class ComparedSegment {
public:
    ComparedSegment(const TranscriptSegment& segment, double tolerance)
        : segment_(&segment), span_(segment, tolerance) {}

    const TimeSpan& span() const { return span_; }

    const std::string& normalized() {
        if (!normalized_) {
            normalized_ = TranscriptSourceSeparator::normalizedText(segment_->text);
        }
        return *normalized_;
    }

    const std::vector<std::string>& characters() {
        if (!characters_) {
            characters_ = text::characters(normalized());
        }
        return *characters_;
    }

private:
    const TranscriptSegment* segment_;
    TimeSpan span_;
    std::optional<std::string> normalized_;
    std::optional<std::vector<std::string>> characters_;
};

double similarity(ComparedSegment& first, ComparedSegment& second) {
    constexpr std::size_t fewestComparableCharacters = 4;
    if (first.normalized().empty() || second.normalized().empty()) {
        return 0;
    }
    if (first.normalized().find(second.normalized()) != std::string::npos ||
        second.normalized().find(first.normalized()) != std::string::npos) {
        return 1;
    }
    const auto [shorter, longer] = std::minmax({first.characters().size(), second.characters().size()});
    if (shorter < fewestComparableCharacters) {
        return 0;
    }
    const std::size_t common =
        TranscriptSourceSeparator::longestCommonSubsequenceLength(first.characters(), second.characters());
    return static_cast<double>(common) / static_cast<double>(longer);
}

} // namespace

TranscriptSourceSeparator::TranscriptSourceSeparator(double overlapTolerance, double similarityThreshold)
    : overlapTolerance_(overlapTolerance), similarityThreshold_(similarityThreshold) {}

std::vector<TranscriptSegment>
TranscriptSourceSeparator::suppressMicrophoneEchoes(const std::vector<TranscriptSegment>& segments) const {
    std::vector<ComparedSegment> speakerSegments;
    for (const TranscriptSegment& segment : segments) {
        if (segment.channel == AudioChannel::speaker) {
            speakerSegments.emplace_back(segment, overlapTolerance_);
        }
    }
    const auto isEcho = [&](const TranscriptSegment& segment) {
        ComparedSegment candidate(segment, overlapTolerance_);
        return std::any_of(speakerSegments.begin(), speakerSegments.end(), [&](ComparedSegment& speaker) {
            return candidate.span().overlaps(speaker.span()) && similarity(candidate, speaker) >= similarityThreshold_;
        });
    };
    std::vector<TranscriptSegment> kept;
    kept.reserve(segments.size());
    for (const TranscriptSegment& segment : segments) {
        if (segment.channel == AudioChannel::speaker || !isEcho(segment)) {
            kept.push_back(segment);
        }
    }
    std::stable_sort(kept.begin(), kept.end(), startsBefore);
    return kept;
}

TranscriptDocument TranscriptSourceSeparator::suppressMicrophoneEchoes(const TranscriptDocument& document) const {
    return {.segments = suppressMicrophoneEchoes(document.segments)};
}

std::string TranscriptSourceSeparator::normalizedText(std::string_view text) {
    std::u32string scalars = text::scalars(text::lowercased(text));
    std::erase_if(scalars, [](char32_t scalar) {
        return text::isWhitespaceOrNewline(scalar) || text::isPunctuation(scalar) || text::isSymbol(scalar);
    });
    return text::fromScalars(scalars);
}

std::size_t TranscriptSourceSeparator::longestCommonSubsequenceLength(const std::vector<std::string>& outer,
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

} // namespace talkledger
