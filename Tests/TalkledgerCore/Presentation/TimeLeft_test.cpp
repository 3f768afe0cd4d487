#include "TalkledgerCore/Presentation/TimeLeft.h"

#include <gtest/gtest.h>

#include <limits>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

TEST(TimeLeft, IsKnownOnceEnoughIsDoneAndIsRoundedUp) {
    EXPECT_EQ(timeLeft(0.5s, 0.5), std::nullopt);
    EXPECT_EQ(timeLeft(20s, 0.01), std::nullopt);
    EXPECT_EQ(timeLeft(20s, std::numeric_limits<double>::quiet_NaN()), std::nullopt);
    EXPECT_EQ(timeLeft(2s, 0.4), 3s);
    EXPECT_EQ(timeLeft(9s, 0.3), 25s) << "21 s";
    EXPECT_EQ(timeLeft(30s, 0.3), 70s) << "70 s";
    EXPECT_EQ(timeLeft(31s, 0.3), 80s) << "72.3 s";
    EXPECT_EQ(timeLeft(30s, 1), 0s);
}

} // namespace
} // namespace talkledger
