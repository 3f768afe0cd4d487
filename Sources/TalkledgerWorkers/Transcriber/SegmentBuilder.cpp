#include "TalkledgerWorkers/Transcriber/SegmentBuilder.h"

#include <cstddef>
#include <utility>

namespace talkledger {

SpeechSegment joinedWords(std::span<const HeardWord> words) {
    SpeechSegment segment{.text = {}, .start = words.front().start, .duration = words.back().end - words.front().start};
    for (const HeardWord& word : words) {
        if (!segment.text.empty()) {
            segment.text += ' ';
        }
        segment.text += word.text;
    }
    return segment;
}

SegmentBuilder::SegmentBuilder(SpeechSegmentHandler handler) : handler_(std::move(handler)) {}

void SegmentBuilder::append(const HeardWord& word) {
    advance(word.start);
    words_.push_back(word);
    while (words_.back().end - words_.front().start > longestSegment && words_.size() > 1) {
        emit(widestGap());
    }
}

void SegmentBuilder::advance(double time) {
    if (!words_.empty() && time - words_.back().end >= pause) {
        finish();
    }
}

void SegmentBuilder::finish() {
    if (!words_.empty()) {
        emit(words_.size());
    }
}

/// The number of words before the widest gap; the latest of equals.
std::size_t SegmentBuilder::widestGap() const {
    std::size_t widest = words_.size() - 1;
    double width = -1;
    for (std::size_t index = 1; index < words_.size(); ++index) {
        const double gap = words_[index].start - words_[index - 1].end;
        if (gap >= width && words_[index - 1].end - words_.front().start >= shortestCut) {
            widest = index;
            width = gap;
        }
    }
    return widest;
}

void SegmentBuilder::emit(std::size_t count) {
    const SpeechSegment segment = joinedWords(std::span(words_).first(count));
    words_.erase(words_.begin(), words_.begin() + static_cast<std::ptrdiff_t>(count));
    handler_(segment);
}

} // namespace talkledger
