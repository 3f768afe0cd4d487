#include "Support/OwnResources.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/SpokenAudio.h"

#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <variant>

namespace talkledger {
namespace {

namespace asio = boost::asio;
using testing::children;
using testing::openDescriptors;
using testing::silence;
using testing::speak;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check overlooks operators
using ::testing::HasSubstr;

constexpr const char* sentence = "We have a budget of twenty thousand dollars for this year.";
const SpeechTranscriber english{.locale = "en_US"};

struct Outcome {
    std::string text;
    std::vector<SpeechTranscriptionResult> results;
    std::vector<double> progress;
};

Task<std::monostate> collect(SpeechAnalyzer& analyzer, Outcome& outcome, std::function<void()> onFirstResult = {}) {
    while (const std::optional<SpeechTranscriptionResult> result = co_await analyzer.nextResult()) {
        outcome.text += result->text + ' ';
        outcome.results.push_back(*result);
        if (onFirstResult) {
            std::exchange(onFirstResult, {})();
        }
    }
    co_return std::monostate();
}

Task<std::monostate> analyze(SpeechAnalyzer& analyzer, SpeechInputFile file) {
    co_await analyzer.start(std::move(file));
    co_await analyzer.finalizeAndFinishThroughEndOfInput();
    co_return std::monostate();
}

class WorkerSpeechRecognitionTest : public ::testing::Test {
protected:
    /// On a context that outlives the recognition, whose thread may still be letting go of what it resumed there.
    template <typename T>
    T run(Task<T> task) {
        return testing::runTask(context_, std::move(task));
    }

    static WorkerSpeechRecognition::Settings settings() {
        WorkerSpeechRecognition::Settings settings{.worker = {}, .desktopLocale = "en_GB"};
        settings.worker.program = workerProgram("talkledger-transcriber");
        return settings;
    }

    Task<Outcome> transcribe(SpeechRecognition& recognition, std::filesystem::path path,
                             std::function<void()> onFirstResult = {}, double startTime = 0) {
        Outcome outcome;
        const auto analyzer = recognition.makeAnalyzer(english);
        SpeechInputFile file{.path = std::move(path), .startTime = startTime, .progress = [&](double share) {
                                 outcome.progress.push_back(share);
                             }};
        co_await both(collect(*analyzer, outcome, std::move(onFirstResult)), analyze(*analyzer, std::move(file)));
        co_return outcome;
    }

    std::string failureOf(SpeechRecognition& recognition, const std::filesystem::path& path,
                          std::function<void()> onFirstResult = {}) {
        try {
            run(transcribe(recognition, path, std::move(onFirstResult)));
        } catch (const WorkerError& error) {
            return error.what();
        }
        return "no failure";
    }

    /// Long enough that something can happen between its sentences.
    std::filesystem::path longRecording() {
        const testing::Samples once = speak("rms", sentence) + silence(1);
        testing::Samples samples;
        for (int count = 0; count < 10; ++count) {
            samples = std::move(samples) + once;
        }
        testing::writeWav(folder_ / "long.wav", samples);
        return folder_ / "long.wav";
    }

    std::filesystem::path shortRecording() {
        testing::writeWav(folder_ / "short.wav", speak("rms", sentence) + silence(1));
        return folder_ / "short.wav";
    }

    asio::io_context context_;
    testing::TemporaryFolder folder_;
};

TEST_F(WorkerSpeechRecognitionTest, TranscribesBothTracksAtOnceOnTheRecordingsTimeLine) {
    testing::writeWav(folder_ / "mic.wav", silence(1) + speak("rms", sentence) + silence(1));
    testing::writeWav(folder_ / "speaker.wav",
                      silence(2) + speak("slt", "I will send you the proposal by Friday afternoon.") + silence(1));
    WorkerSpeechRecognition recognition(settings());
    const auto [mic, speaker] = run(
        both(transcribe(recognition, folder_ / "mic.wav", {}, 10), transcribe(recognition, folder_ / "speaker.wav")));
    EXPECT_THAT(mic.text, HasSubstr("thousand dollars"));
    EXPECT_THAT(speaker.text, HasSubstr("friday afternoon"));
    ASSERT_FALSE(mic.results.empty());
    ASSERT_FALSE(speaker.results.empty());
    EXPECT_NEAR(mic.results.front().audioTimeRange.start, 11, 0.4);
    EXPECT_NEAR(speaker.results.front().audioTimeRange.start, 2, 0.4);
    EXPECT_TRUE(mic.results.front().isFinal);
    ASSERT_FALSE(mic.progress.empty());
    EXPECT_TRUE(std::is_sorted(mic.progress.begin(), mic.progress.end()));
    EXPECT_EQ(mic.progress.back(), 1);
    EXPECT_THAT(children(), ::testing::SizeIs(1));
}

TEST_F(WorkerSpeechRecognitionTest, OffersEnglishToAnEnglishDesktopWithTheModelOnly) {
    WorkerSpeechRecognition recognition(settings());
    EXPECT_TRUE(recognition.isAvailable());
    EXPECT_EQ(run(recognition.supportedLocale("en_GB")), "en_US");
    EXPECT_EQ(run(recognition.supportedLocale("ja_JP")), "en_US") << "the only one there is";
    EXPECT_EQ(run(recognition.assetInventory().status(english)), SpeechAssetStatus::installed);
    EXPECT_EQ(run(recognition.assetInventory().status({.locale = "ja_JP"})), SpeechAssetStatus::unsupported);
    EXPECT_EQ(run(recognition.assetInventory().assetInstallationRequest(english)), nullptr);

    auto japanese = settings();
    japanese.desktopLocale = "ja_JP";
    auto withoutModel = settings();
    withoutModel.modelFolder = folder_ / "models";
    for (const auto& refusing : {japanese, withoutModel}) {
        WorkerSpeechRecognition other(refusing);
        EXPECT_EQ(run(other.supportedLocale("en_US")), std::nullopt);
        EXPECT_EQ(run(other.assetInventory().status(english)), SpeechAssetStatus::unsupported);
    }
    EXPECT_THAT(children(), ::testing::IsEmpty());
}

TEST_F(WorkerSpeechRecognitionTest, NamesWhatCannotBeOpened) {
    WorkerSpeechRecognition recognition(settings());
    std::ofstream(folder_ / "garbage \xFF.m4a") << std::string(5000, '\x7F');
    EXPECT_THAT(failureOf(recognition, folder_ / "garbage \xFF.m4a"), HasSubstr("cannot be opened as audio"));
    EXPECT_THAT(failureOf(recognition, folder_ / "missing.wav"), HasSubstr("missing.wav"));
    EXPECT_THAT(run(transcribe(recognition, shortRecording())).text, HasSubstr("thousand"));

    auto missing = settings();
    missing.worker.program = folder_ / "no-such-program";
    WorkerSpeechRecognition absent(missing);
    EXPECT_FALSE(absent.isAvailable());
    EXPECT_THAT(failureOf(absent, shortRecording()), HasSubstr("no-such-program\" cannot be started"));

    auto foreign = settings();
    foreign.worker.program = "/bin/true"; // it ends without a word
    WorkerSpeechRecognition silent(foreign);
    EXPECT_THAT(failureOf(silent, shortRecording()), HasSubstr("stopped unexpectedly"));
}

TEST_F(WorkerSpeechRecognitionTest, AKilledOrHungWorkerFailsItsRequestOnly) {
    auto impatient = settings();
    impatient.worker.pingInterval = std::chrono::milliseconds(100);
    impatient.worker.unansweredPings = 60;
    WorkerSpeechRecognition recognition(impatient);
    const std::pair<int, const char*> ends[] = {
        {SIGKILL, "The speech recogniser stopped unexpectedly. Try again."},
        {SIGSTOP, "The speech recogniser stopped responding and was ended. Try again."}};
    for (const auto& [signal, text] : ends) {
        const std::string failure = failureOf(recognition, longRecording(), [number = signal] {
            for (const pid_t child : children()) {
                kill(child, number);
            }
        });
        EXPECT_EQ(failure, text);
        EXPECT_THAT(run(transcribe(recognition, shortRecording())).text, HasSubstr("thousand"));
        EXPECT_THAT(children(), ::testing::SizeIs(1)) << "the other one has been waited for";
    }
}

TEST_F(WorkerSpeechRecognitionTest, CancellingEndsTheSequenceAndFreesTheWorker) {
    WorkerSpeechRecognition recognition(settings());
    const auto analyzer = recognition.makeAnalyzer(english);
    Outcome outcome;
    SpeechInputFile file{.path = longRecording(), .startTime = 0, .progress = {}};
    run(both(collect(*analyzer, outcome, [&] { analyzer->cancelAndFinishNow(); }),
             analyze(*analyzer, std::move(file))));
    EXPECT_THAT(outcome.results, ::testing::SizeIs(1));
    EXPECT_EQ(run(analyzer->nextResult()), std::nullopt);

    // Two more than the worker does at once: they would wait for ever behind a request that did not end.
    for (int count = 0; count < 3; ++count) {
        const auto abandoned = recognition.makeAnalyzer(english);
        run(abandoned->start({.path = longRecording(), .startTime = 0, .progress = {}}));
    }
    EXPECT_THAT(run(transcribe(recognition, shortRecording())).text, HasSubstr("thousand"));
}

TEST_F(WorkerSpeechRecognitionTest, ACancelledCoroutineCancelsItsRequest) {
    WorkerSpeechRecognition recognition(settings());
    const auto analyzer = recognition.makeAnalyzer(english);
    run(analyzer->start({.path = longRecording(), .startTime = 0, .progress = {}}));
    Outcome outcome;
    testing::RunningTask<std::monostate> collecting(context_, collect(*analyzer, outcome));
    collecting.cancel();
    while (!collecting.hasEnded()) {
        testing::poll(context_);
    }
    EXPECT_THROW(collecting.result(), boost::system::system_error);
    EXPECT_EQ(run(analyzer->nextResult()), std::nullopt);
}

TEST_F(WorkerSpeechRecognitionTest, ASilentFileIsNotSearchedAgainUntilItChanges) {
    testing::writeWav(folder_ / "silent.wav", silence(3));
    WorkerSpeechRecognition recognition(settings());
    const Outcome first = run(transcribe(recognition, folder_ / "silent.wav"));
    EXPECT_THAT(first.results, ::testing::IsEmpty());
    EXPECT_EQ(first.progress.back(), 1);

    // Stopped, the worker could not answer: whoever asked it would wait.
    const std::vector<pid_t> workers = children();
    ASSERT_THAT(workers, ::testing::SizeIs(1));
    kill(workers.front(), SIGSTOP);
    const Outcome again = run(transcribe(recognition, folder_ / "silent.wav"));
    EXPECT_THAT(again.results, ::testing::IsEmpty());
    EXPECT_EQ(again.progress, std::vector<double>{1});
    kill(workers.front(), SIGCONT);

    testing::writeWav(folder_ / "silent.wav", silence(1) + speak("rms", sentence));
    EXPECT_THAT(run(transcribe(recognition, folder_ / "silent.wav")).text, HasSubstr("thousand"));
}

TEST_F(WorkerSpeechRecognitionTest, LeavesNoDescriptorAndNoProcessBehind) {
    const std::size_t before = openDescriptors();
    const std::filesystem::path recording = longRecording();
    for (int count = 0; count < 3; ++count) {
        auto recognition = std::make_unique<WorkerSpeechRecognition>(settings());
        const auto analyzer = recognition->makeAnalyzer(english);
        run(analyzer->start({.path = recording, .startTime = 0, .progress = {}}));
        recognition.reset(); // in the middle of the work
        Outcome outcome;
        EXPECT_THROW(run(collect(*analyzer, outcome)), WorkerError);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THAT(children(), ::testing::IsEmpty());
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(WorkerSpeechRecognitionTest, AnIdleWorkerEndsAndTheNextRequestStartsOne) {
    auto brief = settings();
    brief.worker.pingInterval = std::chrono::milliseconds(100);
    brief.worker.unansweredPings = 300;
    brief.worker.idleTime = std::chrono::milliseconds(100);
    WorkerSpeechRecognition recognition(brief);
    const std::filesystem::path recording = shortRecording();
    run(transcribe(recognition, recording));
    while (!children().empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_THAT(run(transcribe(recognition, recording)).text, HasSubstr("thousand"));
}

} // namespace
} // namespace talkledger
