#include "TalkledgerCore/Transcription/ConversationState.h"

#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace talkledger {

namespace {

ConversationState::PartialSegmentKey speakerOf(const TranscriptSegment& segment) {
    return {.channel = segment.channel, .role = segment.role};
}

/// Absent when nothing is left of the text.
std::optional<TranscriptSegment> trimmed(TranscriptSegment segment) {
    segment.text = text::trimmed(segment.text);
    return segment.text.empty() ? std::nullopt : std::optional(std::move(segment));
}

std::optional<TranscriptSegment> trimmed(const TranscriptSegment& segment, TranscriptSegmentStatus status) {
    std::optional<TranscriptSegment> stored = trimmed(segment);
    if (stored) {
        stored->status = status;
    }
    return stored;
}

TranscriptDocument inTranscriptOrder(std::vector<TranscriptSegment> segments) {
    std::stable_sort(segments.begin(), segments.end(), precedesInTranscript);
    return {.segments = std::move(segments)};
}

} // namespace

ConversationState::ConversationState(const std::vector<TranscriptSegment>& finalSegments,
                                     const std::vector<TranscriptSegment>& partialSegments) {
    for (const TranscriptSegment& segment : finalSegments) {
        if (auto stored = trimmed(segment, TranscriptSegmentStatus::final)) {
            appendFinal(std::move(*stored));
        }
    }
    for (const TranscriptSegment& segment : partialSegments) {
        if (auto stored = trimmed(segment, TranscriptSegmentStatus::partial)) {
            partialSegments_.insert_or_assign(speakerOf(*stored), std::move(*stored));
        }
    }
}

std::optional<ConversationState::Place> ConversationState::apply(const TranscriptSegment& segment) {
    std::optional<TranscriptSegment> stored = trimmed(segment);
    if (!stored) {
        return std::nullopt;
    }
    const PartialSegmentKey key = speakerOf(*stored);
    if (stored->status == TranscriptSegmentStatus::partial) {
        partialSegments_.insert_or_assign(key, std::move(*stored));
        return Place{.key = key, .finalPosition = std::nullopt};
    }
    partialSegments_.erase(key);
    return Place{.key = key, .finalPosition = storeFinal(std::move(*stored))};
}

void ConversationState::replaceFinalTranscript(const TranscriptDocument& transcript) {
    *this = ConversationState(transcript.segments, {});
}

TranscriptDocument ConversationState::liveTranscript() const {
    std::vector<TranscriptSegment> segments;
    segments.reserve(finalSegments_.size() + partialSegments_.size());
    segments = finalSegments_;
    for (const auto& [key, segment] : partialSegments_) {
        segments.push_back(segment);
    }
    return inTranscriptOrder(std::move(segments));
}

TranscriptDocument ConversationState::stableTranscript() const {
    return inTranscriptOrder(finalSegments_);
}

void ConversationState::reset() {
    *this = ConversationState();
}

void ConversationState::appendFinal(TranscriptSegment segment) {
    if (!std::isnan(segment.startTime)) {
        finalPositions_.try_emplace({speakerOf(segment), segment.startTime}, finalSegments_.size());
    }
    finalSegments_.push_back(std::move(segment));
}

std::size_t ConversationState::storeFinal(TranscriptSegment segment) {
    const auto known = finalPositions_.find({speakerOf(segment), segment.startTime});
    if (known == finalPositions_.end()) {
        appendFinal(std::move(segment));
        return finalSegments_.size() - 1;
    }
    finalSegments_[known->second] = std::move(segment);
    return known->second;
}

} // namespace talkledger
