#include "TalkledgerCore/Support/Dates.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <random>
#include <sstream>
#include <string>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

Date at(std::int64_t secondsSince1970) {
    return Date(std::chrono::seconds(secondsSince1970));
}

TEST(Dates, WriteWholeSecondsInUtc) {
    EXPECT_EQ(formatIso8601(at(1763199000)), "2025-11-15T09:30:00Z");
    EXPECT_EQ(formatIso8601(at(1763199000) + 999ms), "2025-11-15T09:30:00Z");
    EXPECT_EQ(formatIso8601(at(0) - 1ms), "1969-12-31T23:59:59Z");
}

TEST(Dates, ReadUtcAndOffsets) {
    EXPECT_EQ(parseIso8601("2025-11-15T09:30:00Z"), at(1763199000));
    EXPECT_EQ(parseIso8601("2025-11-15T18:30:00+09:00"), at(1763199000));
    EXPECT_EQ(parseIso8601("2025-11-15T04:00:00-05:30"), at(1763199000));
}

TEST(Dates, RefuseEverythingElse) {
    std::istringstream list(
        "|Z|2025-11-15|2025-11-15T09:30:00|2025-11-15 09:30:00Z|2025-11-15T09:30:00.5Z|"
        "2025-11-15T09:30:00z|2025-11-15T09:30:00Z | 2025-11-15T09:30:00Z|2025-02-29T00:00:00Z|"
        "2025-00-10T00:00:00Z|2025-13-10T00:00:00Z|2025-01-32T00:00:00Z|2025-01-00T00:00:00Z|"
        "2025-01-01T24:00:00Z|2025-01-01T00:60:00Z|2025-01-01T00:00:60Z|2025-01-01T00:00:00+24:00|"
        "2025-01-01T00:00:00+00:60|2025-01-01T00:00:00+0900|25-01-01T00:00:00Z|02025-01-01T00:00:00Z|"
        "+025-01-01T00:00:00Z|9999-12-31T23:59:59Z|0000-01-01T00:00:00Z|2262-04-11T23:47:17Z|");
    for (std::string text; std::getline(list, text, '|');) {
        EXPECT_FALSE(parseIso8601(text)) << text;
    }
}

TEST(Dates, ReadWhatTheyWrite) {
    std::mt19937_64 random(3);
    std::uniform_int_distribution<std::int64_t> seconds(-9223372036, 9223372036);
    for (int round = 0; round < 2000; ++round) {
        const Date date = at(seconds(random));
        EXPECT_EQ(parseIso8601(formatIso8601(date)), date);
    }
}

TEST(Dates, WriteLocalTimeForTitles) {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread.
    ::setenv("TZ", "JST-9", 1);
    ::tzset();
    EXPECT_EQ(formatLocalDateTime(at(1763199000) + 400ms), "2025-11-15 18:30:00");
    ::unsetenv("TZ");
    ::tzset();
    // NOLINTEND(concurrency-mt-unsafe)
}

} // namespace
} // namespace talkledger
