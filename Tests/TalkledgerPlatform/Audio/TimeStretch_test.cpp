#include "TalkledgerPlatform/Audio/TimeStretch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace talkledger {
namespace {

constexpr std::uint32_t kRate = 48000;

/// A tone on the left and silence on the right, and how much of it has been read.
class Tone {
public:
    Tone(double frequency, std::size_t frames) : frequency_(frequency), frames_(frames) {}

    std::size_t read(std::span<float> interleaved) {
        const std::size_t count = std::min(interleaved.size() / 2, frames_ - place_);
        for (std::size_t frame = 0; frame < count; ++frame, ++place_) {
            const double angle = 2 * std::numbers::pi * frequency_ * static_cast<double>(place_) / kRate;
            interleaved[2 * frame] = static_cast<float>(0.5 * std::sin(angle));
            interleaved[2 * frame + 1] = 0;
        }
        return count;
    }

private:
    double frequency_;
    std::size_t frames_;
    std::size_t place_{0};
};

std::vector<float> stretched(double speed, double frequency, std::size_t frames) {
    Tone tone(frequency, frames);
    TimeStretch stretch(kRate, speed, [&](std::span<float> interleaved) { return tone.read(interleaved); });
    std::vector<float> left;
    std::vector<float> part(2 * 700); // no round number of pieces
    for (std::size_t count = part.size() / 2; count == part.size() / 2;) {
        count = stretch.read(part);
        for (std::size_t frame = 0; frame < count; ++frame) {
            left.push_back(part[2 * frame]);
            EXPECT_EQ(part[2 * frame + 1], 0);
        }
    }
    return left;
}

double frequencyOf(const std::vector<float>& samples) {
    int crossings = 0;
    for (std::size_t index = 1; index < samples.size(); ++index) {
        crossings += samples[index - 1] < 0 && samples[index] >= 0 ? 1 : 0;
    }
    return crossings * static_cast<double>(kRate) / static_cast<double>(samples.size());
}

TEST(TimeStretch, ChangesTheLengthAndKeepsThePitch) {
    constexpr std::size_t frames = 96000;
    constexpr double frequency = 440;
    for (const double speed : {0.5, 1.25, 2.0}) {
        const std::vector<float> samples = stretched(speed, frequency, frames);
        EXPECT_NEAR(static_cast<double>(samples.size()), frames / speed, 2100) << speed;
        EXPECT_NEAR(frequencyOf({samples.begin() + 4800, samples.end() - 4800}) / frequency, 1, 0.02) << speed;
    }
}

TEST(TimeStretch, PassesSoundOfItsOwnSpeedAsItIs) {
    EXPECT_EQ(stretched(1, 440, 5000).size(), 5000U);
    EXPECT_EQ(stretched(1.5, 440, 0).size(), 0U);
}

} // namespace
} // namespace talkledger
