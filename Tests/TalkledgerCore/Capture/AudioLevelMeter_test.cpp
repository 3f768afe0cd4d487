#include "Fakes/FakeAudioInput.h"
#include "TalkledgerCore/Capture/AudioLevelMeter.h"

#include <gtest/gtest.h>

#include <limits>

namespace talkledger {
namespace {

double levelOf(const AudioBuffer& buffer) {
    return AudioLevelMeter::normalizedLevel(buffer);
}

TEST(AudioLevelMeter, IsTheRootMeanSquareWithinZeroAndOne) {
    const std::vector<float> square = {1, -1, 1, -1};
    const std::vector<float> half = {0.5F, -0.5F, 0.5F};
    const std::vector<float> oneOfFour = {1, 0, 0, 0};
    const std::vector<float> loud = {4, -4};
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(std::span<const float>()), 0);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(square), 1);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(half), 0.5);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(oneOfFour), 0.5);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(loud), 1);
}

TEST(AudioLevelMeter, TakesWhatIsNotFiniteForSilence) {
    const float infinite = std::numeric_limits<float>::infinity();
    const std::vector<float> broken = {0.5F, std::numeric_limits<float>::quiet_NaN()};
    // Its square is beyond a float's range.
    const std::vector<float> huge = {1e30F};
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(std::vector<float>{infinite}), 0);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(broken), 0);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(huge), 0);
    EXPECT_EQ(AudioLevelMeter::normalizedLevel(-0.5), 0);
}

TEST(AudioLevelMeter, MeasuresAllChannelsOfABuffer) {
    const std::vector<float> samples = {1, 0, -1, 0};
    AudioBuffer buffer = testing::makeFloatBuffer(samples, 2, {});
    EXPECT_DOUBLE_EQ(levelOf(buffer), std::sqrt(0.5));
    buffer.format.isInterleaved = false;
    EXPECT_DOUBLE_EQ(levelOf(buffer), std::sqrt(0.5));
    // Only the frames that the buffer says it holds count.
    buffer.frameLength = 1;
    EXPECT_DOUBLE_EQ(levelOf(buffer), std::sqrt(0.5));
}

TEST(AudioLevelMeter, TakesABufferThatCannotBeMeasuredForSilence) {
    const std::vector<float> samples = {1, 1, 1, 1};
    const AudioBuffer good = testing::makeFloatBuffer(samples, 2, {});

    AudioBuffer integers = good;
    integers.format.commonFormat = AudioSampleFormat::int16;
    AudioBuffer noFrames = good;
    noFrames.frameLength = 0;
    AudioBuffer noChannels = good;
    noChannels.format.channelCount = 0;
    AudioBuffer tooShort = good;
    tooShort.frameLength = 3;
    AudioBuffer overflowing = good;
    overflowing.frameLength = std::numeric_limits<std::uint32_t>::max();
    overflowing.format.channelCount = std::numeric_limits<std::uint32_t>::max();
    for (const AudioBuffer& buffer : {integers, noFrames, noChannels, tooShort, overflowing}) {
        EXPECT_EQ(levelOf(buffer), 0);
    }
    EXPECT_EQ(levelOf(good), 1);
}

} // namespace
} // namespace talkledger
