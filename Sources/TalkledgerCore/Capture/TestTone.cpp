#include "TalkledgerCore/Capture/TestTone.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

namespace talkledger {
namespace {

constexpr double sampleRate = 48000;
constexpr double noteSeconds = 0.5;
constexpr double fadeSeconds = 0.05;
constexpr double loudness = 0.2;

float sampleOf(double frequency, double seconds) {
    const double fade = std::clamp(std::min(seconds, noteSeconds - seconds) / fadeSeconds, 0.0, 1.0);
    return static_cast<float>(loudness * fade * std::sin(2 * std::numbers::pi * frequency * seconds));
}

} // namespace

AudioBuffer makeTestTone() {
    std::vector<float> samples;
    for (const double frequency : {523.25, 659.26}) {
        for (int frame = 0; frame < noteSeconds * sampleRate; ++frame) {
            samples.push_back(sampleOf(frequency, frame / sampleRate));
        }
    }
    AudioBuffer tone{.format = {.commonFormat = AudioSampleFormat::float32,
                                .sampleRate = sampleRate,
                                .channelCount = 1,
                                .isInterleaved = true},
                     .frameLength = static_cast<std::uint32_t>(samples.size())};
    const auto bytes = std::as_bytes(std::span(samples));
    tone.samples.assign(bytes.begin(), bytes.end());
    return tone;
}

} // namespace talkledger
