#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/CaptureTimeline.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        value_ += 1;
        addSamples(frame, ticks, streamNumber, std::vector<float>(frames, value_));
    }

    void addSilent(std::uint64_t frame, std::uint64_t ticks, std::uint32_t frames) {
        addSamples(frame, ticks, 1, std::vector<float>(frames));
    }

    void addSamples(std::uint64_t frame, std::uint64_t ticks, std::uint32_t streamNumber,
                    const std::vector<float>& samples) {
        CapturePacket packet;
        packet.firstFrameTime = std::chrono::nanoseconds(timeOfFrame(frame).time_since_epoch()).count();
        packet.ticks = ticks;
        packet.ticksPerSecond = kTestRate;
        packet.cycleLength = cycleLength_;
        packet.driver = driver_;
        packet.streamNumber = streamNumber;
        packet.frames = static_cast<std::uint32_t>(samples.size());
        timeline_.add(packet, samples);
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
    std::uint32_t cycleLength_{256};
    std::uint32_t driver_{1};
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

TEST_F(CaptureTimelineTest, JitterAndPositionsThatBeginAnewAreNoGap) {
    add(0, 0, 256);
    add(256 + 100, 256, 256);    // a late cycle: the ticks follow each other
    add(512 + 60, 256, 256);     // the position is repeated
    add(768 - 60, 999'999, 256); // and is anywhere
    EXPECT_EQ(runs(), (Runs{{256, 1}, {256, 2}, {256, 3}, {256, 4}}));
}

TEST_F(CaptureTimelineTest, AnotherDriverOrStreamIsPlacedByTheClock) {
    add(0, 0, 256);
    driver_ = 2;
    add(256 + 100, 999'999, 256); // its cycles begin at other moments
    add(512 + 100, 999'999 + 256, 256);
    add(5000, 999'999 + 512, 256, 2);
    EXPECT_EQ(runs(), (Runs{{256, 1}, {100, 0}, {256, 2}, {256, 3}, {5000 - 868, 0}, {256, 4}}));
}

// The server says the new length in a cycle that still lasts as long as the one before, and counts it in full.
TEST_F(CaptureTimelineTest, WhatLongerCyclesBringTooMuchIsTakenOutOfSilence) {
    addSilent(0, 0, 256);
    cycleLength_ = 1024;
    addSilent(256, 256, 1024);
    addSilent(512, 1280, 1024); // 768 of these have been there
    add(1536, 2304, 1024);
    EXPECT_EQ(runs(), (Runs{{1536, 0}, {1024, 1}}));
}

TEST_F(CaptureTimelineTest, WhatLongerCyclesBringTooMuchIsNotTakenOutOfASound) {
    add(0, 0, 256);
    cycleLength_ = 1024;
    add(256, 256, 1024);
    for (std::uint64_t cycle = 0; cycle < 8; ++cycle) {
        add(512 + 1024 * cycle, 1280 + 1024 * cycle, 1024);
    }
    addSilent(512 + 8192, 1280 + 8192, 512); // less than there is to take out
    addSilent(512 + 8192 + 512, 1280 + 8192 + 512, 512);
    add(512 + 8192 + 1024, 1280 + 8192 + 1024, 1024);
    const auto result = runs();
    ASSERT_EQ(result.size(), 12U);
    EXPECT_EQ(line_.size(), 512U + 8192 + 2048);
    EXPECT_EQ(result[10], (std::pair<std::size_t, float>(256, 0)));
    EXPECT_EQ(result[11], (std::pair<std::size_t, float>(1024, 11)));
}

TEST_F(CaptureTimelineTest, WhatShorterCyclesLeaveOutBecomesSilence) {
    cycleLength_ = 1024;
    add(0, 0, 1024);
    add(1024, 1024, 256); // the server lost the rest: ticks and clock say it
    cycleLength_ = 256;
    add(2048, 2048, 256);
    add(3072, 2304, 256); // it played nothing for as long as the rest of the long cycle: the clock alone says it
    add(3328, 2560, 256);
    EXPECT_EQ(runs(), (Runs{{1024, 1}, {256, 2}, {768, 0}, {256, 3}, {768, 0}, {256, 4}, {256, 5}}));
}

TEST_F(CaptureTimelineTest, ShorterCyclesMakeUpForLongerOnes) {
    add(0, 0, 256);
    cycleLength_ = 1024;
    add(256, 256, 1024);
    add(512, 1280, 1024); // 768 too many
    cycleLength_ = 512;
    add(1536, 2304, 512);
    add(2560, 2816, 512); // 512 too few
    addSilent(3072, 3328, 512);
    add(3584, 3840, 512);
    EXPECT_EQ(runs(), (Runs{{256, 1}, {1024, 2}, {1024, 3}, {512, 4}, {512, 5}, {256, 0}, {512, 6}}));
}

TEST_F(CaptureTimelineTest, DriftAndALatePacketAreNoSignOfAnotherLength) {
    std::uint64_t ticks = 0;
    std::uint64_t drift = 0;
    const auto addCycles = [&](int count) {
        for (int cycle = 0; cycle < count; ++cycle) {
            add(ticks + drift, ticks, cycleLength_);
            ticks += cycleLength_;
            drift += cycle % 10 == 0 ? 1 : 0;
        }
    };
    addCycles(1000);
    add(ticks + drift + 200, ticks, 256); // late
    ticks += 256;
    cycleLength_ = 1024; // by a server that tells it in time
    addCycles(1000);
    EXPECT_EQ(line_.size(), ticks / 1000 * 1000); // buffers of 1000
    EXPECT_EQ(std::count(line_.begin(), line_.end(), 0), 0);
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
            } else {
                std::this_thread::yield(); // on a machine that is busy elsewhere
            }
        }
    });
    CapturePacket packet;
    std::vector<float> samples;
    std::uint64_t wrong = 0;
    for (std::uint64_t number = 0; number < kPackets;) {
        if (!ring.pop(packet, samples)) {
            std::this_thread::yield();
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
