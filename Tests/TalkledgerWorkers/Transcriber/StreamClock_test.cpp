#include "TalkledgerWorkers/Transcriber/StreamClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace talkledger {
namespace {

TEST(StreamClock, FollowsTheAudioThroughHolesAndOverlaps) {
    StreamClock clock;
    EXPECT_EQ(clock.secondsMissing(100), 0) << "a stream may begin whenever";
    clock.resume(100);
    clock.advance(2);
    EXPECT_DOUBLE_EQ(clock.secondsMissing(102), 0);
    EXPECT_DOUBLE_EQ(clock.secondsMissing(105), 3);
    clock.advance(0.5); // a pause stands for them
    clock.resume(105);
    clock.advance(1);
    EXPECT_NEAR(clock.secondsMissing(105.9), -0.1, 1e-9);
    clock.resume(105.9);
    EXPECT_DOUBLE_EQ(clock.time(0.5), 100.5);
    EXPECT_DOUBLE_EQ(clock.time(2.5), 105);
    EXPECT_DOUBLE_EQ(clock.time(3), 105.5);
    EXPECT_DOUBLE_EQ(clock.time(4), 106.4);
}

TEST(StreamClock, GoesByTheLastOfSeveralBeginnings) {
    StreamClock clock;
    for (const double time : {5.0, 1.0, 9.0}) {
        clock.resume(time);
    }
    clock.advance(1);
    EXPECT_DOUBLE_EQ(clock.time(0.5), 9.5);
    EXPECT_DOUBLE_EQ(clock.secondsMissing(10), 0);
}

TEST(StreamClock, TakesUpADriftAndForgetsWhatIsLongPast) {
    StreamClock clock;
    constexpr int hours = 3;
    constexpr double pace = 1.0001; // 100 parts in a million, as cheap devices have it
    double worst = 0;
    for (int second = 0; second < hours * 3600; ++second) {
        clock.resume(second * pace);
        worst = std::max(worst, std::abs(clock.time(second - 10) - (second - 10) * pace));
        clock.advance(1);
    }
    EXPECT_LE(worst, 0.03);
    EXPECT_NEAR(clock.time(0), 1, 0.2) << "from the oldest that is known";
}

} // namespace
} // namespace talkledger
