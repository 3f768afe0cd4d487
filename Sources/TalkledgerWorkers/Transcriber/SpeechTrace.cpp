#include "TalkledgerWorkers/Transcriber/SpeechTrace.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace talkledger {

SpeechTrace::SpeechTrace(std::unique_ptr<SpeechDetector> detector) : detector_(std::move(detector)) {}

void SpeechTrace::reset() {
    detector_->reset();
    pending_.clear();
    frames_ = 0;
    decisions_.clear();
}

void SpeechTrace::append(std::span<const std::int16_t> samples) {
    constexpr float fullScale = 32768;
    constexpr double framesPerSecond = 16000.0 / SpeechDetector::frameLength;
    for (const std::int16_t sample : samples) {
        pending_.push_back(static_cast<float>(sample) / fullScale);
        if (pending_.size() < SpeechDetector::frameLength) {
            continue;
        }
        ++frames_;
        if (detector_->probability(pending_) >= SpeechDetector::beginning) {
            decisions_.push_back(static_cast<double>(frames_) / framesPerSecond);
        }
        pending_.clear();
    }
}

bool SpeechTrace::hasSpeech(double first, double last) const {
    const auto decision = std::lower_bound(decisions_.begin(), decisions_.end(), first);
    return decision != decisions_.end() && *decision <= last + detector_->lag();
}

void SpeechTrace::forget(double before) {
    decisions_.erase(decisions_.begin(), std::lower_bound(decisions_.begin(), decisions_.end(), before));
}

} // namespace talkledger
