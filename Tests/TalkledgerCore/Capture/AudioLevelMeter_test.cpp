#include "Fakes/FakeAudioInput.h"
#include "TalkledgerCore/Capture/AudioLevelMeter.h"

#include <gtest/gtest.h>

#include <limits>

namespace talkledger {
namespace {

TEST(AudioLevelMeter, IsTheRootMeanSquareWithinZeroAndOne) {
    constexpr float infinite = std::numeric_limits<float>::infinity();
    constexpr float unknown = std::numeric_limits<float>::quiet_NaN();
    const std::pair<std::vector<float>, double> cases[] = {
        {{}, 0},         {{1, -1, 1}, 1},      {{1, 0, 0, 0}, 0.5}, {{4, -4}, 1},
        {{infinite}, 0}, {{0.5F, unknown}, 0}, {{1e30F}, 0}, // its square is beyond a float's range
    };
    for (const auto& [samples, level] : cases) {
        EXPECT_EQ(AudioLevelMeter::normalizedLevel(samples), level);
    }
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(-0.5), 0);
}

TEST(AudioLevelMeter, MeasuresAllChannelsOfTheFramesThatABufferHolds) {
    AudioBuffer buffer = testing::makeFloatBuffer(std::vector<float>{1, 0, -1, 1}, 2, {});
    EXPECT_DOUBLE_EQ(AudioLevelMeter::normalizedLevel(buffer), std::sqrt(0.75));
    buffer.frameLength = 1;
    EXPECT_DOUBLE_EQ(AudioLevelMeter::normalizedLevel(buffer), std::sqrt(0.5));
    buffer.format.isInterleaved = false;
    EXPECT_DOUBLE_EQ(AudioLevelMeter::normalizedLevel(buffer), std::sqrt(0.5));
}

TEST(AudioLevelMeter, TakesABufferThatCannotBeMeasuredForSilence) {
    AudioBuffer integers = testing::makeFloatBuffer(std::vector<float>{1, 1, 1, 1}, 2, {});
    AudioBuffer noFrames = integers;
    AudioBuffer noChannels = integers;
    AudioBuffer tooShort = integers;
    AudioBuffer overflowing = integers;
    integers.format.commonFormat = AudioSampleFormat::int16;
    noFrames.frameLength = 0;
    noChannels.format.channelCount = 0;
    tooShort.frameLength = 3;
    overflowing.frameLength = std::numeric_limits<std::uint32_t>::max();
    overflowing.format.channelCount = std::numeric_limits<std::uint32_t>::max();
    for (const AudioBuffer& buffer : {integers, noFrames, noChannels, tooShort, overflowing}) {
        EXPECT_EQ(AudioLevelMeter::normalizedLevel(buffer), 0);
    }
}

} // namespace
} // namespace talkledger
