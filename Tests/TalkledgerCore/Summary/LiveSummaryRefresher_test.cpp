#include "Fakes/AnsweredSummaryGenerator.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Summary/LiveSummaryRefresher.h"

#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <list>

namespace talkledger {
namespace {

using namespace std::chrono_literals;
using Result = LiveSummaryRefreshResult;

TranscriptSegment said(const std::string& text, AudioChannel channel = AudioChannel::mic) {
    return {channel, structuralSpeakerRole(channel), 2, 1, text, TranscriptSegmentStatus::partial};
}

SalesSummary about(const std::string& overview) {
    SalesSummary summary;
    summary.overview = overview;
    return summary;
}

Date at(std::chrono::milliseconds sinceStart) {
    return Date(std::chrono::hours(500'000)) + sinceStart;
}

class LiveSummaryRefresherTest : public ::testing::Test {
protected:
    using Refresh = testing::RunningTask<Result>;

    boost::asio::io_context context;
    testing::AnsweredSummaryGenerator generator;
    LiveSummaryRefresher refresher{30, 5, generator};
    std::list<Refresh> refreshes;

    Refresh& refresh(const std::string& text, std::chrono::milliseconds now = 0ms) {
        return refreshes.emplace_back(context, refresher.refresh({{said(text)}}, at(now)));
    }

    void answer(std::size_t index, const std::string& overview) {
        generator.answer(index, about(overview));
        testing::poll(context);
    }

    /// Makes `text` that of the last successful summary.
    void summarize(const std::string& text, std::chrono::milliseconds now = 0ms) {
        const std::size_t index = generator.transcripts.size();
        refresh(text, now);
        answer(index, text);
    }

    bool asks(const std::string& text, std::chrono::milliseconds now) {
        const std::size_t count = generator.transcripts.size();
        refresh(text, now);
        return generator.transcripts.size() > count;
    }
};

TEST_F(LiveSummaryRefresherTest, CountsTheCharactersOfTrimmedAndJoinedSpeech) {
    LiveSummaryRefresher patient(30, 40, generator);
    const auto outcome = [&](TranscriptDocument transcript) {
        Refresh& started = refreshes.emplace_back(context, patient.refresh(std::move(transcript), at(0ms)));
        return started.hasEnded() ? std::optional(started.result()) : std::nullopt;
    };
    std::string families;
    for (int count = 0; count < 19; ++count) {
        families += "👨‍👩‍👦";
    }
    EXPECT_EQ(outcome({}), Result::waitingForSpeech());
    EXPECT_EQ(outcome({{said("  " + families + "\u3000"), said("\n"), said(families)}}), Result::waitingForSpeech());
    EXPECT_EQ(outcome({{said(families), said(families + "\r\n!")}}), std::nullopt);
    EXPECT_EQ(generator.transcripts.size(), 1U);
}

TEST_F(LiveSummaryRefresherTest, SendsTheSpeechUnderItsChannelsRoles) {
    TranscriptDocument transcript{{said(" mine \n"), said("\u3000"), said("theirs\xFF", AudioChannel::speaker)}};
    transcript.segments[2].role = SpeakerRole::me;
    Refresh& started = refreshes.emplace_back(context, refresher.refresh(transcript, at(7s)));
    EXPECT_EQ(generator.transcripts.back(),
              (TranscriptDocument{{said("mine"), said("theirs\uFFFD", AudioChannel::speaker)}}));
    answer(0, "both");
    EXPECT_EQ(started.result(),
              Result::updated({.summary = about("both"), .updatedAt = at(7s), .sourceSegmentCount = 2}));
}

TEST_F(LiveSummaryRefresherTest, WaitsForTheIntervalAndForNews) {
    summarize("first");
    EXPECT_EQ(refresh("first", 90s).result(), Result::skipped());
    EXPECT_EQ(refresh("second", 29'900ms).result(), Result::skipped());
    EXPECT_EQ(refresh("second", -60s).result(), Result::skipped()); // the clock was set back
    EXPECT_EQ(refresh("less", 90s).result(), Result::waitingForSpeech());
    EXPECT_TRUE(asks("second", 30s));
    answer(1, "second");
    EXPECT_FALSE(asks("third", 59'999ms));
    EXPECT_TRUE(asks("first", 60s));
}

TEST_F(LiveSummaryRefresherTest, AsksAgainAtOnceAfterAFailure) {
    summarize("first");
    Refresh& failing = refresh("second", 30s);
    generator.fail(1, "The model is busy.");
    testing::poll(context);
    EXPECT_EQ(testing::failureText([&] { failing.result(); }), "The model is busy.");
    EXPECT_FALSE(asks("second", 29s));

    Refresh& cancelled = refresh("second", 30s);
    cancelled.cancel();
    EXPECT_TRUE(cancelled.hasEnded());
    EXPECT_TRUE(asks("second", 30s));
}

TEST_F(LiveSummaryRefresherTest, AsksOnceForATextThatIsUnderWay) {
    refresh("first");
    EXPECT_EQ(refresh("first").result(), Result::skipped());
    Refresh& newer = refresh("second");
    EXPECT_EQ(generator.transcripts.size(), 2U);

    // The older one ends without taking the newer one's mark, whether it succeeds or fails.
    answer(0, "first");
    EXPECT_EQ(refresh("second", 30s).result(), Result::skipped());
    answer(1, "second");
    EXPECT_EQ(newer.result().snapshot->summary, about("second"));
    EXPECT_FALSE(asks("second", 90s));
    EXPECT_TRUE(asks("third", 30s));
    EXPECT_TRUE(asks("fourth", 30s));
    generator.fail(2, "too late");
    testing::poll(context);
    EXPECT_EQ(refresh("fourth", 30s).result(), Result::skipped());
}

TEST_F(LiveSummaryRefresherTest, StartsAnewAfterAReset) {
    summarize("first");
    refresher.reset();
    EXPECT_TRUE(asks("first", 1s));
    refresher.reset();
    EXPECT_TRUE(asks("first", 1s));
    answer(2, "newer");
    EXPECT_FALSE(asks("other", 2s));
    answer(1, "older");
    EXPECT_FALSE(asks("other", 30s));
    EXPECT_TRUE(asks("other", 31s));
}

} // namespace
} // namespace talkledger
