#include "TalkledgerCore/Capture/AudioLevelMeter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace talkledger {

namespace {

double square(float sample) {
    return static_cast<double>(sample * sample);
}

} // namespace

double AudioLevelMeter::normalizedLevel(double rootMeanSquare) {
    return std::isfinite(rootMeanSquare) ? std::clamp(rootMeanSquare, 0.0, 1.0) : 0;
}

double AudioLevelMeter::normalizedLevel(std::span<const float> samples) {
    if (samples.empty()) {
        return 0;
    }
    double sum = 0;
    for (const float sample : samples) {
        sum += square(sample);
    }
    return normalizedLevel(std::sqrt(sum / static_cast<double>(samples.size())));
}

double AudioLevelMeter::normalizedLevel(const AudioBuffer& buffer) {
    const std::size_t frames = buffer.frameLength;
    const std::size_t channels = buffer.format.channelCount;
    const std::span<const float> samples = buffer.floatSamples();
    if (frames == 0 || channels == 0 || samples.size() / channels < frames) {
        return 0;
    }
    if (!buffer.format.isInterleaved) {
        return normalizedLevel(samples.first(frames * channels));
    }
    double sum = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            sum += square(samples[frame * channels + channel]);
        }
    }
    return normalizedLevel(std::sqrt(sum / static_cast<double>(frames * channels)));
}

} // namespace talkledger
