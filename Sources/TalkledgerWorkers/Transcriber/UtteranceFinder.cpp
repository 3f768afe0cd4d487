#include "TalkledgerWorkers/Transcriber/UtteranceFinder.h"

#include <algorithm>
#include <array>
#include <utility>

namespace talkledger {

namespace {

constexpr std::size_t sampleRate = 16000;

/// That ends an utterance, seconds. A detector's decision comes out of the time behind it, which is part of the pause.
constexpr double pause = 0.75;
constexpr double shortestSilence = 0.15;

/// Kept around what was detected: words begin and end softly.
constexpr double margin = 0.25; // seconds

/// Of a sound that lasts, when nobody speaks.
constexpr float loud = 0.03F;
constexpr std::size_t loudFramesOfSound = 16;

float energy(std::span<const float> samples) {
    float sum = 0;
    for (const float sample : samples) {
        sum += sample * sample;
    }
    return sum;
}

} // namespace

UtteranceFinder::UtteranceFinder(std::unique_ptr<SpeechDetector> detector, double longest)
    : detector_(std::move(detector)),
      longest_(static_cast<std::size_t>(longest * sampleRate)),
      pause_(static_cast<std::size_t>(std::max(shortestSilence, pause - detector_->lag()) * sampleRate)),
      lookback_(static_cast<std::size_t>((detector_->lag() + margin) * sampleRate)) {}

void UtteranceFinder::begin(Handler handler) {
    handler_ = std::move(handler);
    detector_->reset();
    pending_.clear();
    before_.clear();
    open_ = {};
    quietSamples_ = 0;
    heard_ = 0;
    loudFrames_ = 0;
    passedOver_ = 0;
}

void UtteranceFinder::append(std::span<const std::int16_t> samples) {
    constexpr float fullScale = 32768;
    for (const std::int16_t sample : samples) {
        pending_.push_back(static_cast<float>(sample) / fullScale);
        if (pending_.size() == SpeechDetector::frameLength) {
            hear(pending_);
            pending_.clear();
        }
    }
}

void UtteranceFinder::finish() {
    if (!pending_.empty()) {
        pending_.resize(SpeechDetector::frameLength);
        hear(pending_);
        pending_.clear();
    }
    if (!open_.samples.empty()) {
        endUtterance();
    }
}

void UtteranceFinder::hear(std::span<const float> frame) {
    const bool isOpen = !open_.samples.empty();
    const float probability = detector_->probability(frame);
    heard_ += static_cast<std::int64_t>(frame.size());
    std::vector<float>& kept = isOpen ? open_.samples : before_;
    kept.insert(kept.end(), frame.begin(), frame.end());
    if (!isOpen) {
        watchLoudness(frame);
        if (before_.size() > lookback_) {
            before_.erase(before_.begin(), before_.end() - static_cast<std::ptrdiff_t>(lookback_));
        }
        if (probability >= SpeechDetector::beginning) {
            beginUtterance();
        }
        return;
    }
    quietSamples_ = probability >= SpeechDetector::continuing ? 0 : quietSamples_ + frame.size();
    if (quietSamples_ >= pause_) {
        endUtterance();
    } else if (open_.samples.size() >= longest_) {
        cut();
    }
}

void UtteranceFinder::beginUtterance() {
    open_.start = heard_ - static_cast<std::int64_t>(before_.size());
    open_.samples = std::exchange(before_, {});
    quietSamples_ = 0;
    passedOver_ -= loudFrames_ >= loudFramesOfSound ? 1 : 0; // it was speech that had just begun
    loudFrames_ = 0;
}

void UtteranceFinder::endUtterance() {
    // What follows may begin with the end of this one's pause.
    before_.assign(open_.samples.end() - static_cast<std::ptrdiff_t>(std::min(quietSamples_, open_.samples.size())),
                   open_.samples.end());
    const auto margins = static_cast<std::int64_t>(2 * margin * sampleRate);
    open_.spoken = std::max<std::int64_t>(1, static_cast<std::int64_t>(open_.samples.size()) - margins);
    handler_(std::exchange(open_, {}));
}

/// In its later half, which leaves both parts long enough to be understood.
void UtteranceFinder::cut() {
    constexpr std::size_t width = 3 * SpeechDetector::frameLength;
    const std::span<const float> samples = open_.samples;
    std::size_t quietest = samples.size() / 2;
    float least = energy(samples.subspan(quietest, width));
    for (std::size_t place = quietest; place + width <= samples.size(); place += SpeechDetector::frameLength) {
        if (const float there = energy(samples.subspan(place, width)); there < least) {
            least = there;
            quietest = place;
        }
    }
    const auto middle = static_cast<std::ptrdiff_t>(quietest + width / 2);
    Utterance rest{.start = open_.start + middle, .samples = {open_.samples.begin() + middle, open_.samples.end()}};
    open_.samples.resize(static_cast<std::size_t>(middle));
    open_.spoken = static_cast<std::int64_t>(middle);
    handler_(std::exchange(open_, std::move(rest)));
}

void UtteranceFinder::watchLoudness(std::span<const float> frame) {
    const bool isLoud = energy(frame) > loud * loud * static_cast<float>(frame.size());
    loudFrames_ = isLoud ? loudFrames_ + 1 : 0;
    passedOver_ += loudFrames_ == loudFramesOfSound ? 1 : 0;
}

} // namespace talkledger
