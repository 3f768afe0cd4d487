#include "Rehearsal/Comparison.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace talkledger::rehearsal {
namespace {

Samples noise(std::size_t length, float amplitude) {
    std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same noise each time
    std::uniform_real_distribution<float> distribution(-amplitude, amplitude);
    Samples samples(length);
    for (float& sample : samples) {
        sample = distribution(random);
    }
    return samples;
}

TEST(ComparisonTest, CountsTheWordsThatStandInOrder) {
    EXPECT_DOUBLE_EQ(shareOfWords("The budget is approved.", "um the BUDGET, is approved today"), 1);
    EXPECT_DOUBLE_EQ(shareOfWords("one two three four", "four three two one"), 0.25);
    EXPECT_DOUBLE_EQ(shareOfWords("one two three four", "one three four"), 0.75);
    EXPECT_DOUBLE_EQ(shareOfWords("one one", "one"), 0.5);
    EXPECT_DOUBLE_EQ(shareOfWords("one", ""), 0);
}

TEST(ComparisonTest, FindsAPassageOnlySampleForSample) {
    const Samples track = noise(5000, 0.5F);
    Samples passage(track.begin() + 1234, track.begin() + 4000);
    EXPECT_EQ(findExactly(track, passage), 1234U);
    passage.back() = std::nextafter(passage.back(), 1.0F);
    EXPECT_EQ(findExactly(track, passage), std::nullopt);
}

TEST(ComparisonTest, LocatesASoundBetweenTwoFramesAndUnderNoise) {
    const Samples sound = synchronizationSound();
    Samples track = noise(20000, 0.02F);
    for (std::size_t index = 0; index + 1 < sound.size(); ++index) { // 8000.5, by linear interpolation
        track[8001 + index] += 0.3F * (sound[index] + sound[index + 1]) / 2;
    }
    const Correlation found = correlate(track, sound, 0, track.size());
    EXPECT_NEAR(found.position, 8000.5, 0.1);
    EXPECT_GT(found.coefficient, 0.8);

    EXPECT_LT(correlate(track, sound, 9000, track.size()).coefficient, 0.5);
    EXPECT_EQ(correlate(Samples(20000), sound, 0, 20000).coefficient, 0);
    EXPECT_EQ(correlate(Samples(100), sound, 0, 20000).coefficient, 0);
}

} // namespace
} // namespace talkledger::rehearsal
