#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/CaptureTimeline.h"

#include <gtest/gtest.h>

#include <thread>

namespace talkledger {
namespace {

using testing::floatFormat;
using testing::kTestRate;
using testing::timeOfFrame;

/// A timeline and what came out of it. A packet's samples are all the number of its call, so that places are seen.
class CaptureTimelineTest : public ::testing::Test {
protected:
    void add(std::uint64_t frame, std::uint64_t ticks, std::uint32_t frames, std::uint32_t streamNumber = 1) {
        CapturePacket packet;
        packet.firstFrameTime = std::chrono::nanoseconds(timeOfFrame(frame).time_since_epoch()).count();
        packet.ticks = ticks;
        packet.ticksPerSecond = kTestRate;
        packet.streamNumber = streamNumber;
        packet.frames = frames;
        value_ += 1;
        timeline_.add(packet, std::vector<float>(frames, value_));
    }

    /// The line as runs of equal samples: (length, value).
    std::vector<std::pair<std::size_t, float>> runs() {
        timeline_.flush();
        std::vector<std::pair<std::size_t, float>> result;
        for (const float sample : line_) {
            if (result.empty() || result.back().second != sample) {
                result.emplace_back(0, sample);
            }
            ++result.back().first;
        }
        return result;
    }

    using Runs = std::vector<std::pair<std::size_t, float>>;

    std::vector<float> line_;
    float value_{0};
    CaptureTimeline timeline_{floatFormat(1), 1000, [this](const AudioBuffer& buffer) {
                                  EXPECT_LE(buffer.frameLength, 1000U);
                                  const auto error = buffer.time - timeOfFrame(line_.size());
                                  EXPECT_LT(std::chrono::abs(error), std::chrono::nanoseconds(2));
                                  const auto samples = buffer.floatSamples();
                                  line_.insert(line_.end(), samples.begin(), samples.end());
                              }};
};

TEST_F(CaptureTimelineTest, LostCyclesBecomeSilenceOfTheExactLength) {
    add(0, 500, 256);
    add(256, 756, 256);
    add(256 * 4 + 3, 500 + 256 * 4, 256); // the clock is three frames late; the ticks know better
    EXPECT_EQ(runs(), (Runs{{256, 1}, {256, 2}, {512, 0}, {256, 3}}));
}

TEST_F(CaptureTimelineTest, JitterAndAChangeOfDriverAreNoGap) {
    add(0, 0, 256);
    add(256 + 100, 256, 256);    // a late cycle: the ticks follow each other
    add(512 + 60, 256, 256);     // another driver repeats the position
    add(768 - 60, 999'999, 256); // another one starts anywhere
    EXPECT_EQ(runs(), (Runs{{256, 1}, {256, 2}, {256, 3}, {256, 4}}));
}

TEST_F(CaptureTimelineTest, AnotherStreamIsPlacedByTheClock) {
    add(0, 0, 256);
    add(5000, 0, 256, 2);
    EXPECT_EQ(runs(), (Runs{{256, 1}, {5000 - 256, 0}, {256, 2}}));
}

TEST_F(CaptureTimelineTest, SilenceInArrearsIsNotRepeatedAndCutsLatePackets) {
    add(0, 0, 256);
    timeline_.fillTo(timeOfFrame(2000));
    timeline_.fillTo(timeOfFrame(1500));
    add(256, 256, 1000);   // came when its place was filled
    add(1256, 1256, 1000); // the last 256 frames are new
    add(2256, 2256, 100);
    EXPECT_EQ(runs(), (Runs{{256, 1}, {2000 - 256, 0}, {256, 3}, {100, 4}}));
}

TEST_F(CaptureTimelineTest, BeginsSilentWhenToldAndKeepsTheFirstPacketsPlace) {
    timeline_.begin(timeOfFrame(0));
    add(3000, 0, 256);
    EXPECT_EQ(runs(), (Runs{{3000, 0}, {256, 1}}));
}

TEST(SampleRingTest, KeepsOrderAndContentBetweenThreadsAndDropsWholePackets) {
    SampleRing ring(2, 5000);
    constexpr std::uint64_t kPackets = 20'000;
    std::thread producer([&ring] {
        std::vector<float> samples(std::size_t{2} * 300);
        for (std::uint64_t number = 0; number < kPackets;) {
            CapturePacket packet;
            packet.ticks = number;
            packet.frames = 1 + static_cast<std::uint32_t>(number % 300);
            samples.assign(samples.size(), static_cast<float>(number));
            if (ring.push(packet, number % 7 == 0 ? nullptr : samples.data())) {
                ++number;
            }
        }
    });
    CapturePacket packet;
    std::vector<float> samples;
    std::uint64_t wrong = 0;
    for (std::uint64_t number = 0; number < kPackets;) {
        if (!ring.pop(packet, samples)) {
            continue;
        }
        const float expected = number % 7 == 0 ? 0.0F : static_cast<float>(number);
        wrong += packet.ticks == number && packet.frames == 1 + number % 300 &&
                         samples.size() == std::size_t{2} * packet.frames &&
                         std::all_of(samples.begin(), samples.end(), [&](float sample) { return sample == expected; })
                     ? 0
                     : 1;
        ++number;
    }
    producer.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(ring.framesReady(), 0U);

    packet.frames = 5000;
    EXPECT_TRUE(ring.push(packet, nullptr));
    packet.frames = 1;
    EXPECT_FALSE(ring.push(packet, nullptr));
}

} // namespace
} // namespace talkledger
