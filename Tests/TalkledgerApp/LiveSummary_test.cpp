#include "TalkledgerApp/AppFixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace talkledger::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Status = LiveSummaryStatus;

constexpr const char* enoughSpeech = "We would like to begin with the standard package in May.";

std::string summaryAbout(const std::string& overview) {
    return R"({"overview": ")" + overview + R"(", "decisions": [], "customerPains": [],)" +
           R"( "budgetSignals": [], "decisionCriteria": [], "objections": [], "unresolvedQuestions": [],)" +
           R"( "nextActions": [], "followUpEmailDraft": ""})";
}

class LiveSummaryTest : public AppFixture {
protected:
    LiveSummaryTest() {
        liveSummaryInterval_ = 10ms;
        languageModel_.state.isAvailable = true;
        languageModel_.answer = summaryAbout("They begin in May.");
    }

    /// Every status from now on, without repetitions.
    const std::vector<Status>& watchStatus() {
        QObject::connect(model().liveSummary(), &LiveSummary::changed, [this] {
            if (statuses_.empty() || statuses_.back() != model().liveSummaryStatus()) {
                statuses_.push_back(model().liveSummaryStatus());
            }
        });
        return statuses_;
    }

    void waitFor(Status status) {
        waitUntil([this, status] { return model().liveSummaryStatus() == status; });
    }

private:
    std::vector<Status> statuses_;
};

TEST_F(LiveSummaryTest, FollowsTheConversationAndGoesWithTheRecording) {
    makeModel();
    const std::vector<Status>& statuses = watchStatus();
    recordLive();
    waitFor(Status::waitingForSpeech);
    EXPECT_EQ(model().liveSummarySnapshot(), std::nullopt);
    say(AudioChannel::speaker, spoken(enoughSpeech, 1, 3));
    waitFor(Status::updated);
    ASSERT_TRUE(model().liveSummarySnapshot());
    EXPECT_EQ(model().liveSummarySnapshot()->summary.overview, "They begin in May.");
    EXPECT_EQ(model().liveSummarySnapshot()->sourceSegmentCount, 1U);
    EXPECT_EQ(model().listSummary(*model().currentSession())->overview, "They begin in May.");
    EXPECT_THAT(languageModel_.prompt, HasSubstr(enoughSpeech));
    EXPECT_EQ(languageModel_.sessionCount, 1);
    EXPECT_TRUE(languageModel_.options.isProvisional);

    // Nothing new is said: the refreshes that are skipped change nothing.
    const std::size_t seen = statuses.size();
    waitUntil([&] { return statuses.size() >= seen + 4; });
    EXPECT_THAT(std::vector(statuses.end() - 4, statuses.end()),
                ElementsAre(Status::generating, Status::updated, Status::generating, Status::updated));
    EXPECT_EQ(languageModel_.sessionCount, 1);

    hearSomething();
    speech_.results.close();
    model().stopRecording();
    waitUntil([this] { return speech_.results.waitingCount() == 2; });
    EXPECT_NE(model().liveTranscriptDocument(), std::nullopt);
    EXPECT_EQ(model().liveSummarySnapshot(), std::nullopt) << "gone as soon as the recording is being stopped";
    EXPECT_EQ(model().liveSummaryStatus(), Status::idle);
    speech_.results.open();
    waitUntilIdle();
    EXPECT_EQ(model().liveSummaryStatus(), Status::idle);
}

TEST_F(LiveSummaryTest, KeepsTheLastOneWhenAnotherFails) {
    makeModel();
    recordLive();
    say(AudioChannel::speaker, spoken(enoughSpeech, 1, 3));
    waitFor(Status::updated);
    languageModel_.failure = "The model gave up.";
    say(AudioChannel::mic, spoken("May it is.", 6, 1));
    waitFor(Status::failed);
    EXPECT_EQ(model().liveSummarySnapshot()->summary.overview, "They begin in May.");
    EXPECT_EQ(model().lastError(), std::nullopt) << "the card says it";
    languageModel_.failure.reset();
    languageModel_.answer = summaryAbout("May it is.");
    waitFor(Status::updated);
    EXPECT_EQ(model().liveSummarySnapshot()->summary.overview, "May it is.");
    stop();
}

TEST_F(LiveSummaryTest, BeginsAnewWithTheNextRecording) {
    makeModel();
    languageModel_.answering.close();
    recordLive();
    say(AudioChannel::speaker, spoken(enoughSpeech, 1, 3));
    waitUntil([this] { return languageModel_.answering.waitingCount() == 1; });
    EXPECT_EQ(model().liveSummaryStatus(), Status::generating);
    stop(); // in the middle of it
    EXPECT_EQ(model().liveSummaryStatus(), Status::idle);
    const std::vector<Status>& statuses = watchStatus();
    languageModel_.answering.open();
    recordLive();
    say(AudioChannel::speaker, spoken(enoughSpeech, 1, 3)); // the very same words
    waitFor(Status::updated);
    EXPECT_EQ(languageModel_.sessionCount, 2);
    stop();
    EXPECT_THAT(statuses, Not(Contains(Status::failed)));
}

} // namespace
} // namespace talkledger::testing
