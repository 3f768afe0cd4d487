#include "TalkledgerWorkers/Transcriber/VoicingDetector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

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

/// In several sums, which a processor adds to at once.
float product(std::span<const float> first, std::span<const float> second) {
    constexpr std::size_t lanes = 8;
    static_assert(correlated % lanes == 0);
    std::array<float, lanes> sums{};
    for (std::size_t index = 0; index < correlated; index += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            sums[lane] += first[index + lane] * second[index + lane];
        }
    }
    return std::accumulate(sums.begin(), sums.end(), 0.0F);
}

float energy(std::span<const float> samples) {
    return product(samples, samples);
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
        periods_.push_back(period(std::span(pending_).subspan(frame, windowLength)));
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(frame));
}

int VoicingDetector::voicedFrames(std::int64_t first, std::int64_t last) const {
    int count = 0;
    for (std::int64_t frame = std::max(first, firstKnown_); frame <= last; ++frame) {
        count += period(frame, frame) > 0 ? 1 : 0;
    }
    return count;
}

int VoicingDetector::period(std::int64_t first, std::int64_t last) const {
    const std::int64_t end = firstKnown_ + static_cast<std::int64_t>(periods_.size());
    for (std::int64_t frame = std::min(last, end - 1); frame >= std::max(first, firstKnown_); --frame) {
        if (const int found = periods_[static_cast<std::size_t>(frame - firstKnown_)]; found > 0) {
            return found;
        }
    }
    return 0;
}

void VoicingDetector::forget(std::int64_t first) {
    while (firstKnown_ < first && !periods_.empty()) {
        periods_.pop_front();
        ++firstKnown_;
    }
}

int VoicingDetector::period(std::span<const float> window) {
    const std::span<const float> reference = window.first(correlated);
    const float referenceEnergy = energy(reference);
    // Quieter than -80 dB of full scale is nobody's voice.
    constexpr float silentEnergy = 1e-8F * correlated;
    if (referenceEnergy < silentEnergy) {
        return 0;
    }
    float delayedEnergy = energy(window.subspan(shortestPeriod, correlated));
    float previous = 1;
    bool isRising = false;
    float best = 0;
    int bestPeriod = 0;
    for (std::size_t period = shortestPeriod; period <= longestPeriod; ++period) {
        const float correlation = product(reference, window.subspan(period, correlated)) /
                                  std::sqrt(referenceEnergy * std::max(delayedEnergy, silentEnergy));
        // Only a peak is a period: smooth noise correlates with itself at the shortest delays.
        if (isRising && correlation < previous && previous >= voicedCorrelation && previous > best) {
            best = previous;
            bestPeriod = static_cast<int>(period) - 1;
        }
        isRising = correlation > previous;
        previous = correlation;
        const float leaving = window[period];
        const float entering = window[period + correlated];
        delayedEnergy += entering * entering - leaving * leaving;
    }
    return bestPeriod;
}

} // namespace talkledger
