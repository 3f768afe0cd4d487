#include "TalkledgerWorkers/Transcriber/SpeechWindow.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace talkledger {

namespace {

constexpr double pauseBetween = 0.2; // seconds, beside the utterances' own margins

double secondsOf(std::size_t samples) {
    return static_cast<double>(samples) / SpeechEngine::sampleRate;
}

} // namespace

bool SpeechWindow::hasRoomFor(const Utterance& utterance) const {
    return parts_.empty() ||
           secondsOf(samples_.size() + utterance.samples.size()) + pauseBetween <= WhisperState::longestPiece;
}

void SpeechWindow::append(const Utterance& utterance) {
    if (parts_.empty()) {
        samples_.reserve(static_cast<std::size_t>(WhisperState::longestPiece * SpeechEngine::sampleRate));
    } else {
        samples_.resize(samples_.size() + static_cast<std::size_t>(pauseBetween * SpeechEngine::sampleRate));
    }
    const double begin = secondsOf(samples_.size());
    samples_.insert(samples_.end(), utterance.samples.begin(), utterance.samples.end());
    const double start = static_cast<double>(utterance.start) / SpeechEngine::sampleRate;
    parts_.push_back({.begin = begin, .end = secondsOf(samples_.size()), .offset = start - begin});
    spoken_ += utterance.spoken;
}

std::vector<SpeechSegment> SpeechWindow::segments(const std::vector<WhisperPassage>& passages) const {
    std::vector<SpeechSegment> segments;
    std::size_t part = 0;
    for (const WhisperPassage& passage : passages) {
        bool isFirst = true;
        for (const WhisperWord& word : passage.words) {
            const std::size_t previous = part;
            part = partAt((word.start + word.end) / 2, part);
            const Part& place = parts_[part];
            const double start = std::clamp(word.start, place.begin, place.end) + place.offset;
            const double end = std::clamp(word.end, place.begin, place.end) + place.offset;
            if (std::exchange(isFirst, false) || part != previous) {
                segments.push_back({.text = {}, .start = start, .duration = 0});
            }
            SpeechSegment& segment = segments.back();
            segment.text += word.text;
            segment.duration = std::max(segment.duration, end - segment.start);
        }
    }
    for (SpeechSegment& segment : segments) {
        segment.text = text::trimmed(segment.text);
    }
    std::erase_if(segments, [](const SpeechSegment& segment) { return segment.text.empty(); });
    return segments;
}

/// The one that is there, or ended last before; times never go back.
std::size_t SpeechWindow::partAt(double time, std::size_t earliest) const {
    std::size_t part = earliest;
    while (part + 1 < parts_.size() && parts_[part + 1].begin <= time) {
        ++part;
    }
    return part;
}

} // namespace talkledger
