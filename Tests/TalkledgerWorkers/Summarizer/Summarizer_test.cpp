#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestLanguageModel.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Summarizer/Summarizer.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <utility>
#include <variant>

namespace talkledger {
namespace {

namespace asio = boost::asio;

/// A summarizer that is quickly bored, with the program's end of its socket, on the test's thread.
class SummarizerTest : public ::testing::Test {
protected:
    SummarizerTest() {
        prepareLlama();
        testing::writeCannedLanguageModel(model(), testing::cannedSummary());
        FrameSocket::Socket ours(context_);
        FrameSocket::Socket theirs(context_);
        asio::local::connect_pair(ours, theirs);
        program_.emplace(std::move(ours));
        summarizer_.emplace(std::move(theirs),
                            Summarizer::Settings{.engineThreads = 1, .idleTime = std::chrono::milliseconds(1)});
        asio::co_spawn(context_, summarizer_->run(), [this](const std::exception_ptr&) { hasLeft_ = true; });
        asio::co_spawn(context_, program_->writeQueued(), [](const std::exception_ptr&) {});
        receive();
    }

    std::filesystem::path model() const { return folder_ / "canned.gguf"; }

    MessageFromSummarizer receive() {
        return decodeMessage<MessageFromSummarizer>(testing::runTask(context_, program_->read()).value());
    }

    template <typename Message>
    void send(const Message& message) {
        program_->send(encodeMessage(message));
    }

    /// How much the summarizer still knew of the same question.
    std::int64_t reusedTokens() {
        send(AskModel{.request = ++lastRequest_,
                      .model = model(),
                      .instructions = "Summarise.",
                      .prompt = "Nothing new.",
                      .schema = GeneratedSalesSummary::generationSchema(),
                      .includesSchema = false,
                      .maximumTokens = 300,
                      .isProvisional = false});
        return std::get<ModelAnswer>(receive()).reusedTokens;
    }

    void pause() {
        asio::steady_timer timer(context_, std::chrono::milliseconds(20));
        testing::runTask(context_, timer.async_wait(asio::use_awaitable));
    }

    asio::io_context context_;
    testing::TemporaryFolder folder_;
    std::optional<FrameSocket> program_;
    std::optional<Summarizer> summarizer_;
    std::int64_t lastRequest_{0};
    bool hasLeft_{false};
};

TEST_F(SummarizerTest, GivesTheMemoryBackUnlessQuestionsAreExpected) {
    send(HoldModel{.model = model()});
    reusedTokens();
    for (int count = 0; count < 5; ++count) {
        pause();
        EXPECT_GT(reusedTokens(), 0);
    }
    send(ReleaseModel{});
    do {
        pause();
    } while (reusedTokens() > 0);
}

TEST_F(SummarizerTest, LeavesAProgramThatBreaksTheRules) {
    send(ModelAnswer{});
    context_.restart();
    while (!hasLeft_) {
        ASSERT_GT(context_.run_one(), 0U);
    }
}

} // namespace
} // namespace talkledger
