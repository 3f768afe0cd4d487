#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include "TalkledgerCore/Transcription/SpokenText.h"
#include "TalkledgerCore/Transcription/TimeSpan.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace talkledger {

namespace {

using SegmentPointers = std::vector<const TranscriptSegment*>;

/// Pointers, since segments are slow to move.
void sortByStart(SegmentPointers& segments) {
    std::stable_sort(segments.begin(), segments.end(),
                     [](const auto* first, const auto* second) { return startsBefore(*first, *second); });
}

/// The speaker segments of a transcript. Their texts are made ready when the first comparison needs them.
class SpeakerSegments {
public:
    SpeakerSegments(const std::vector<TranscriptSegment>& segments, const TranscriptSourceSeparator& separator)
        : separator_(separator) {
        SegmentPointers sorted;
        for (const TranscriptSegment& segment : segments) {
            if (segment.channel == AudioChannel::speaker) {
                sorted.push_back(&segment);
            }
        }
        sortByStart(sorted);
        speakers_.reserve(sorted.size());
        for (const TranscriptSegment* const segment : sorted) {
            index_.insert({*segment, separator_.overlapTolerance}, speakers_.size());
            speakers_.push_back({.segment = segment, .text = std::nullopt});
        }
    }

    bool haveEcho(const TranscriptSegment& microphone) {
        std::optional<SpokenText> text;
        const TimeSpan span(microphone, separator_.overlapTolerance);
        return index_.anyOverlapping(span, [&](std::size_t position) {
            Speaker& speaker = speakers_[position];
            return areSimilar(ready(text, microphone), ready(speaker.text, *speaker.segment),
                              separator_.similarityThreshold);
        });
    }

private:
    struct Speaker {
        const TranscriptSegment* segment;
        std::optional<SpokenText> text;
    };

    const SpokenText& ready(std::optional<SpokenText>& text, const TranscriptSegment& segment) {
        return text ? *text : text.emplace(alphabet_.read(segment.text));
    }

    TranscriptSourceSeparator separator_;
    std::vector<Speaker> speakers_;
    TimeSpanIndex<std::size_t> index_;
    SpeechAlphabet alphabet_;
};

} // namespace

std::vector<TranscriptSegment>
TranscriptSourceSeparator::suppressMicrophoneEchoes(const std::vector<TranscriptSegment>& segments) const {
    SpeakerSegments speakers(segments, *this);
    SegmentPointers kept;
    for (const TranscriptSegment& segment : segments) {
        if (segment.channel == AudioChannel::speaker || !speakers.haveEcho(segment)) {
            kept.push_back(&segment);
        }
    }
    sortByStart(kept);
    std::vector<TranscriptSegment> separated;
    separated.reserve(kept.size());
    for (const TranscriptSegment* const segment : kept) {
        separated.push_back(*segment);
    }
    return separated;
}

TranscriptDocument TranscriptSourceSeparator::suppressMicrophoneEchoes(const TranscriptDocument& document) const {
    return {.segments = suppressMicrophoneEchoes(document.segments)};
}

} // namespace talkledger
