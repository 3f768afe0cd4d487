#include "Support/OwnResources.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestLanguageModel.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerCore/Summary/LiveSummaryRefresher.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerPlatform/LanguageModel/WorkerLanguageModel.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"

#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace talkledger {
namespace {

using ::testing::AnyOf;
using testing::children;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TranscriptDocument conversation(int segments) {
    TranscriptDocument document;
    for (int number = 0; number < segments; ++number) {
        TranscriptSegment segment;
        segment.text = "Sentence " + std::to_string(number * number) + " of this meeting is about the offer.";
        segment.startTime = 5 * number;
        segment.status = TranscriptSegmentStatus::final;
        document.segments.push_back(segment);
    }
    return document;
}

class WorkerLanguageModelTest : public ::testing::Test {
protected:
    WorkerLanguageModelTest() { std::filesystem::create_directory(models()); }

    std::filesystem::path models() const { return folder_ / "Models"; }

    WorkerLanguageModel::Settings settings() const {
        WorkerLanguageModel::Settings settings;
        settings.worker.program = workerProgram("talkledger-summarizer");
        settings.modelFolder = models();
        return settings;
    }

    void installCannedModel() const {
        testing::writeCannedLanguageModel(models() / "canned.gguf", testing::cannedSummary());
    }

    /// One that thinks about each token for a moment, and never comes to an end by itself.
    void installSlowModel() const {
        testing::writeRandomLanguageModel(
            models() / "slow.gguf",
            {.embeddingLength = 512, .layerCount = 3, .feedForwardLength = 1024, .isQuantized = true}, 1);
    }

    template <typename T>
    T run(Task<T> task) {
        return testing::runTask(context_, std::move(task));
    }

    AskModel question(int segments, bool isProvisional = true) const {
        return {.request = 0,
                .model = models() / "canned.gguf",
                .instructions = "Summarise.",
                .prompt = FoundationModelsSalesSummaryGenerator::prompt(conversation(segments)),
                .schema = GeneratedSalesSummary::generationSchema(),
                .includesSchema = true,
                .maximumTokens = 900,
                .isProvisional = isProvisional};
    }

    /// Returns when the only worker has been at work for a while.
    void waitForWork() {
        constexpr long moment = 5;
        const pid_t worker = children().front();
        const long begin = testing::processorTicks(worker);
        while (testing::processorTicks(worker) < begin + moment) {
            testing::poll(context_);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    template <typename Call>
    static std::string failureOf(Call call) {
        try {
            call();
        } catch (const WorkerError& error) {
            return error.what();
        }
        return "no failure";
    }

    boost::asio::io_context context_;
    testing::TemporaryFolder folder_;
};

TEST_F(WorkerLanguageModelTest, SummarisesAMeetingWhileItGoesOnAndAtItsEnd) {
    installCannedModel();
    WorkerLanguageModel model(settings());
    model.expectQuestions(true);
    FoundationModelsSalesSummaryGenerator live(model, SummaryStage::live);
    LiveSummaryRefresher refresher(30, 40, live);
    const Date begin = std::chrono::system_clock::now();
    for (int refresh = 1; refresh <= 3; ++refresh) {
        const auto result =
            run(refresher.refresh(conversation(5 * refresh), begin + std::chrono::seconds(30 * refresh)));
        ASSERT_EQ(result.outcome, LiveSummaryRefreshResult::Case::updated);
        EXPECT_EQ(result.snapshot->summary.overview, testing::cannedOverview);
    }
    model.expectQuestions(false);
    FoundationModelsSalesSummaryGenerator atTheEnd(model);
    EXPECT_EQ(run(atTheEnd.summary(conversation(20))).decisions.front(), testing::cannedDecision);
    EXPECT_THAT(children(), ::testing::SizeIs(1));
}

TEST_F(WorkerLanguageModelTest, TellsHowMuchOfAPromptWasReused) {
    installCannedModel();
    SummarizerClient client(settings().worker);
    const ModelAnswer first = run(client.ask(question(10)));
    EXPECT_EQ(first.reusedTokens, 0);
    const auto [second, third] = run(both(client.ask(question(20)), client.ask(question(30, false))));
    constexpr std::int64_t tail = 13; // what stands behind a prompt
    EXPECT_EQ(second.reusedTokens, first.promptTokens - tail);
    EXPECT_EQ(third.reusedTokens, second.promptTokens - tail);
}

/// The question that comes after a cancelled one does not wait for the answer that nobody wants.
TEST_F(WorkerLanguageModelTest, CancelsAQuestionUnderWay) {
    installSlowModel();
    installCannedModel();
    SummarizerClient client(settings().worker);
    AskModel slow = question(1);
    slow.model = models() / "slow.gguf";
    slow.maximumTokens = 100;
    run(client.ask(slow)); // it is loaded
    slow.maximumTokens = AskModel::mostAnswerTokens;
    testing::RunningTask<ModelAnswer> unwanted(context_, client.ask(slow));
    waitForWork();
    unwanted.cancel();
    EXPECT_THROW(unwanted.result(), boost::system::system_error);
    slow.maximumTokens = 100;
    EXPECT_GT(run(client.ask(slow)).reusedTokens, 0) << "by the same worker";
}

/// A program of which nothing is expected ends when it has had nothing to do for a moment.
TEST_F(WorkerLanguageModelTest, KeepsAModelThatComesWhileQuestionsAreExpected) {
    WorkerLanguageModel::Settings hasty = settings();
    hasty.worker.pingInterval = std::chrono::milliseconds(5);
    hasty.worker.idleTime = std::chrono::milliseconds(5);
    hasty.worker.unansweredPings = 100'000;
    WorkerLanguageModel model(hasty);
    FoundationModelsSalesSummaryGenerator generator(model);
    model.expectQuestions(true);
    EXPECT_THROW(run(generator.summary(conversation(5))), FoundationSummaryGeneratorError);
    installCannedModel();
    run(generator.summary(conversation(5)));
    const std::vector<pid_t> worker = children();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(children(), worker);
    model.expectQuestions(false);
    while (!children().empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TEST_F(WorkerLanguageModelTest, AWorkerKilledWhileItAnswersFailsItsQuestionOnly) {
    installSlowModel();
    installCannedModel();
    SummarizerClient client(settings().worker);
    run(client.ask(question(1))); // it runs, and has answered
    AskModel slow = question(40);
    slow.model = models() / "slow.gguf";
    const std::string failure = failureOf([&] {
        testing::RunningTask<ModelAnswer> answer(context_, client.ask(slow));
        waitForWork();
        kill(children().front(), SIGKILL);
        while (!answer.hasEnded()) {
            context_.run_one();
        }
        answer.result();
    });
    EXPECT_EQ(failure, "The language model stopped unexpectedly. Try again.");
    EXPECT_EQ(run(client.ask(question(1))).reusedTokens, 0);
}

TEST_F(WorkerLanguageModelTest, ChecksFilesThatMayHoldAnything) {
    installCannedModel();
    WorkerLanguageModel model(settings());
    std::ifstream file(models() / "canned.gguf", std::ios::binary);
    const std::string sound{std::istreambuf_iterator<char>(file), {}};
    const auto check = [&](const std::string& content) {
        std::ofstream(folder_ / "other.gguf", std::ios::binary) << content;
        return failureOf([&] { run(model.check(folder_ / "other.gguf")); });
    };
    constexpr const char* refusal = "The file \"other.gguf\" cannot be used as a language model: ";
    EXPECT_EQ(check(sound), "no failure");
    EXPECT_THAT(check(""), StartsWith(refusal));
    EXPECT_THAT(check("GGUF"), StartsWith(refusal));
    EXPECT_THAT(check(std::string(5000, '\xFF')), StartsWith(refusal));
    for (std::size_t length = 24; length < sound.size(); length += sound.size() / 8) {
        EXPECT_THAT(check(sound.substr(0, length)), StartsWith(refusal)) << length;
    }
    std::mt19937 random(11);
    for (int round = 0; round < 12; ++round) {
        std::string broken = sound;
        for (int change = 0; change < 8; ++change) {
            broken[random() % 12000] = static_cast<char>(random());
        }
        EXPECT_THAT(check(broken), AnyOf("no failure", StartsWith(refusal), HasSubstr("in the settings"))) << round;
    }
    EXPECT_THAT(failureOf([&] { run(model.check(folder_ / "none.gguf")); }), HasSubstr("it is not there"));
    EXPECT_EQ(check(sound), "no failure");
}

TEST_F(WorkerLanguageModelTest, SaysWhatTheUserCanDoWithoutAModel) {
    WorkerLanguageModel model(settings());
    model.expectQuestions(true);
    std::ofstream(models() / "notes.txt").close();
    std::filesystem::create_directory(models() / "folder.gguf");
    EXPECT_FALSE(model.availability().isAvailable);
    EXPECT_EQ(model.availability().lack, LanguageModelLack::model);
    installCannedModel();
    EXPECT_TRUE(model.availability().isAvailable);
    EXPECT_THAT(children(), ::testing::IsEmpty()) << "nothing was asked";

    auto withoutEngine = settings();
    withoutEngine.worker.program = folder_ / "missing";
    const WorkerLanguageModel absent(withoutEngine);
    EXPECT_EQ(absent.availability().lack, LanguageModelLack::engine);
}

} // namespace
} // namespace talkledger
