#include "Fakes/FakeTranscriptProvider.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Transcription/LiveTranscriptFetcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

class LiveTranscriptFetcherTest : public ::testing::Test {
protected:
    boost::asio::io_context context;
    testing::CallLog log;
    std::shared_ptr<testing::FakeTranscriptProvider> provider = std::make_shared<testing::FakeTranscriptProvider>(log);
    LiveTranscriptFetcher patient{.timeout = 1h};

    void SetUp() override {
        provider->document.segments.emplace_back(AudioChannel::mic, SpeakerRole::me, 1, 2, "hello",
                                                 TranscriptSegmentStatus::final);
    }
};

TEST_F(LiveTranscriptFetcherTest, ReturnsWhatAProviderAnswersInTime) {
    EXPECT_EQ(testing::runTask(context, patient.transcript({}, provider)), provider->document);
    provider->answering.close();
    testing::RunningTask<TranscriptDocument> later(context, patient.transcript({}, provider));
    EXPECT_FALSE(later.hasEnded());
    provider->answering.open();
    testing::poll(context);
    EXPECT_EQ(later.result(), provider->document);
    // The timeout was cancelled: nothing is left to wait for.
    context.restart();
    EXPECT_EQ(context.run(), 0U);
    provider->failure = "broken";
    EXPECT_EQ(testing::failureText([&] { testing::runTask(context, patient.transcript({}, provider)); }), "broken");
}

TEST_F(LiveTranscriptFetcherTest, CancelsAProviderThatIsLate) {
    provider->answering.close();
    LiveTranscriptFetcher hasty{.timeout = 1ms};
    EXPECT_THROW(testing::runTask(context, hasty.transcript({}, provider)), LiveTranscriptFetchError);
    testing::poll(context);
    EXPECT_EQ(provider->answering.cancelledCount(), 1);
    EXPECT_EQ(provider.use_count(), 1);
}

TEST_F(LiveTranscriptFetcherTest, TakesTimeoutsThatNoClockKnows) {
    provider->answering.close();
    for (const double seconds : {std::nan(""), -1.0, -std::numeric_limits<double>::infinity()}) {
        LiveTranscriptFetcher hasty{.timeout = std::chrono::duration<double>(seconds)};
        EXPECT_THROW(testing::runTask(context, hasty.transcript({}, provider)), LiveTranscriptFetchError) << seconds;
    }
    for (const double seconds : {1e10, std::numeric_limits<double>::infinity()}) {
        LiveTranscriptFetcher endless{.timeout = std::chrono::duration<double>(seconds)};
        testing::RunningTask<TranscriptDocument> fetch(context, endless.transcript({}, provider));
        EXPECT_FALSE(fetch.hasEnded()) << seconds;
        fetch.cancel();
    }
}

TEST_F(LiveTranscriptFetcherTest, EndsBothTasksWhenItIsCancelledItself) {
    provider->answering.close();
    testing::RunningTask<TranscriptDocument> fetch(context, patient.transcript({}, provider));
    fetch.cancel();
    EXPECT_THROW(fetch.result(), boost::system::system_error);
    EXPECT_EQ(provider->answering.cancelledCount(), 1);
    context.restart();
    EXPECT_EQ(context.run(), 0U);
}

} // namespace
} // namespace talkledger
