#include "TalkledgerWorkers/Transcriber/VoicingDetector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace talkledger {

namespace {

// All at half the rate, 8 kHz.
constexpr std::size_t hop = 80;            ///< 10 ms
constexpr std::size_t correlated = 256;    ///< 32 ms, two periods of the lowest voice
constexpr std::size_t shortestPeriod = 20; ///< 400 Hz
constexpr std::size_t longestPeriod = 114; ///< 70 Hz
constexpr std::size_t windowLength = correlated + longestPeriod + 1;

/// Correlation from which a frame counts as voiced. Of white, pink, brown and fluctuating noise, clicks, bursts and hum
/// at most 0.2 % of the frames reach it; of two synthetic voices 61 and 75 %, in noise 12 dB below them 45 and 70 %.
constexpr float voicedCorrelation = 0.55F;

float energy(std::span<const float> samples) {
    float sum = 0;
    for (const float sample : samples) {
        sum += sample * sample;
    }
    return sum;
}

float product(std::span<const float> first, std::span<const float> second) {
    float sum = 0;
    for (std::size_t index = 0; index < first.size(); ++index) {
        sum += first[index] * second[index];
    }
    return sum;
}

} // namespace

void VoicingDetector::reset() {
    *this = {};
}

void VoicingDetector::append(std::span<const std::int16_t> samples) {
    for (const std::int16_t sample : samples) {
        if (!isCarrying_) {
            carried_ = sample;
            isCarrying_ = true;
            continue;
        }
        isCarrying_ = false;
        const float halved = static_cast<float>(carried_ + sample) / 65536;
        // The difference takes away the slow swings of hum, wind and brown noise, which resemble a period.
        pending_.push_back(halved - previous_);
        previous_ = halved;
    }
    std::size_t frame = 0;
    for (; frame + windowLength <= pending_.size(); frame += hop) {
        voiced_.push_back(isVoiced(std::span(pending_).subspan(frame, windowLength)));
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(frame));
}

int VoicingDetector::voicedFrames(std::int64_t first, std::int64_t last) const {
    const auto known = static_cast<std::int64_t>(voiced_.size());
    const std::int64_t begin = std::clamp<std::int64_t>(first - firstKnown_, 0, known);
    const std::int64_t end = std::clamp<std::int64_t>(last - firstKnown_ + 1, begin, known);
    return static_cast<int>(std::count(voiced_.begin() + begin, voiced_.begin() + end, true));
}

void VoicingDetector::forget(std::int64_t first) {
    while (firstKnown_ < first && !voiced_.empty()) {
        voiced_.pop_front();
        ++firstKnown_;
    }
}

bool VoicingDetector::isVoiced(std::span<const float> window) const {
    const std::span<const float> reference = window.first(correlated);
    const float referenceEnergy = energy(reference);
    // Quieter than -80 dB of full scale is nobody's voice.
    constexpr float silentEnergy = 1e-8F * correlated;
    if (referenceEnergy < silentEnergy) {
        return false;
    }
    float delayedEnergy = energy(window.subspan(shortestPeriod, correlated));
    float previous = 1;
    bool isRising = false;
    for (std::size_t period = shortestPeriod; period <= longestPeriod; ++period) {
        const float correlation = product(reference, window.subspan(period, correlated)) /
                                  std::sqrt(referenceEnergy * std::max(delayedEnergy, silentEnergy));
        // Only a peak is a period: smooth noise correlates with itself at the shortest delays.
        if (isRising && correlation < previous && previous >= voicedCorrelation) {
            return true;
        }
        isRising = correlation > previous;
        previous = correlation;
        const float leaving = window[period];
        const float entering = window[period + correlated];
        delayedEnergy += entering * entering - leaving * leaving;
    }
    return false;
}

} // namespace talkledger
