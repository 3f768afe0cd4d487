// The whole way of live speech, from captured buffers to segments.
#include "Support/OwnResources.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSession.h"
#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#ifdef TALKLEDGER_HAS_WHISPER
#include "TalkledgerWorkers/SpeechModelWriter.h"
#endif

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using testing::children;
using testing::Samples;
using testing::silence;
using testing::speak;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check overlooks operators
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* budget = "We have a budget of twenty thousand dollars for this year.";
constexpr const char* proposal = "I will send you the proposal by Friday afternoon.";
constexpr AudioFormat captureFormat{AudioSampleFormat::float32, 48000, 2, true};
constexpr MonotonicTime origin{std::chrono::hours(5)};

/// One channel of a recording: what it said so far, and the capture that feeds it.
class Channel {
public:
    Channel(AudioChannel channel, SpeechRecognition& recognition, AudioConversion& conversion)
        : session_(std::make_shared<LiveSpeechTranscriptionSession>(
              "ja_JP", channel, structuralSpeakerRole(channel),
              [this](const TranscriptSegment& segment) { segments_.push_back(segment); }, recognition, conversion,
              origin, nullptr, std::chrono::hours(1))) {}

    LiveSpeechTranscriptionSession& session() { return *session_; }

    /// As a capture delivers it: stereo at 48 kHz, 4096 frames at a time, from that second of the recording on.
    void hear(const Samples& samples, double from) {
        constexpr std::size_t frames = 4096;
        constexpr std::size_t ratio = 3;
        const std::size_t length = samples.size() * ratio;
        for (std::size_t first = 0; first < length; first += frames) {
            AudioBuffer buffer;
            buffer.format = captureFormat;
            buffer.frameLength = static_cast<std::uint32_t>(std::min(frames, length - first));
            const double seconds = from + static_cast<double>(first) / captureFormat.sampleRate;
            buffer.time = origin + std::chrono::nanoseconds(std::llround(seconds * 1e9));
            std::vector<float> values;
            for (std::size_t frame = first; frame < first + buffer.frameLength; ++frame) {
                const float before = samples[frame / ratio];
                const float after = samples[std::min(frame / ratio + 1, samples.size() - 1)];
                const float value = before + (after - before) * static_cast<float>(frame % ratio) / ratio;
                values.insert(values.end(), 2, value / 32768);
            }
            buffer.samples.resize(values.size() * sizeof(float));
            std::memcpy(buffer.samples.data(), values.data(), buffer.samples.size());
            session_->append(std::make_shared<const AudioBuffer>(std::move(buffer)));
        }
    }

    std::vector<TranscriptSegment> segments(TranscriptSegmentStatus status) const {
        std::vector<TranscriptSegment> found;
        std::copy_if(segments_.begin(), segments_.end(), std::back_inserter(found),
                     [&](const TranscriptSegment& segment) { return segment.status == status; });
        return found;
    }

    std::vector<TranscriptSegment> finals() const { return segments(TranscriptSegmentStatus::final); }

    std::string text() const {
        std::string text;
        for (const TranscriptSegment& segment : finals()) {
            text += segment.text + ' ';
        }
        return text;
    }

private:
    std::vector<TranscriptSegment> segments_;
    std::shared_ptr<LiveSpeechTranscriptionSession> session_;
};

class LiveSpeechTest : public ::testing::Test {
protected:
    static WorkerSpeechRecognition::Settings settings() {
        WorkerSpeechRecognition::Settings settings{.worker = {}, .desktopLocale = "en_US"};
        settings.worker.program = workerProgram("talkledger-transcriber");
        return settings;
    }

    void useSettings(const WorkerSpeechRecognition::Settings& changed) {
        recognition = std::make_unique<WorkerSpeechRecognition>(changed);
    }

    std::unique_ptr<Channel> started(AudioChannel channel) {
        auto made = std::make_unique<Channel>(channel, *recognition, conversion);
        run(made->session().start(captureFormat));
        return made;
    }

    template <typename T>
    T run(Task<T> task) {
        return testing::runTask(context, std::move(task));
    }

    void runUntil(const std::function<bool()>& happened) {
        context.restart();
        while (!happened() && context.run_one() > 0) {
        }
        ASSERT_TRUE(happened());
    }

    /// Until they have been waited for.
    static void waitForEndOf(const std::vector<pid_t>& workers) {
        const auto hasEnded = [](pid_t worker) { return kill(worker, 0) != 0; };
        while (!std::all_of(workers.begin(), workers.end(), hasEnded)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    boost::asio::io_context context; ///< outlives the recognition, whose thread resumes what runs here
    ResamplerAudioConversion conversion;
    std::unique_ptr<WorkerSpeechRecognition> recognition{std::make_unique<WorkerSpeechRecognition>(settings())};
};

TEST_F(LiveSpeechTest, HearsBothSidesAtOnceOnOneTimeLine) {
    const auto mic = started(AudioChannel::mic);
    const auto speaker = started(AudioChannel::speaker);
    EXPECT_THAT(children(), SizeIs(2)) << "each has its own worker";
    // Attached late, to a recording that has run for some time.
    mic->hear(silence(1) + speak("rms", budget) + silence(2), 100);
    speaker->hear(silence(4) + speak("slt", proposal) + silence(1), 100.5);
    const auto hasFinal = [](const Channel& channel) { return !channel.finals().empty(); };
    runUntil([&] { return hasFinal(*mic); }); // the pause ends it, not the finish
    const auto partials = mic->segments(TranscriptSegmentStatus::partial);
    ASSERT_THAT(partials, SizeIs(::testing::Ge(4U)));
    EXPECT_EQ(partials.back().text, mic->finals().front().text);
    run(mic->session().finish());
    run(speaker->session().finish());
    ASSERT_THAT(mic->finals(), SizeIs(1));
    ASSERT_THAT(speaker->finals(), SizeIs(1));
    EXPECT_THAT(mic->text(), HasSubstr("budget of twenty thousand dollars"));
    EXPECT_THAT(speaker->text(), HasSubstr("friday afternoon"));
    EXPECT_NEAR(mic->finals().front().startTime, 101, 0.3);
    EXPECT_NEAR(speaker->finals().front().startTime, 104.5, 0.3);
    for (const TranscriptSegment& partial : partials) {
        EXPECT_NEAR(partial.startTime, 101, 0.3) << partial.text;
    }
    EXPECT_EQ(speaker->finals().front().role, SpeakerRole::customer);
    waitForEndOf(children());
}

TEST_F(LiveSpeechTest, AKilledWorkerCostsItsStreamWhatWasBeingSaid) {
    const auto mic = started(AudioChannel::mic);
    const std::vector<pid_t> micWorker = children();
    ASSERT_THAT(micWorker, SizeIs(1));
    const auto speaker = started(AudioChannel::speaker);
    const Samples sentence = silence(0.5) + speak("rms", budget) + silence(1);
    mic->hear(sentence, 0);
    runUntil([&] { return !mic->segments(TranscriptSegmentStatus::partial).empty(); });
    kill(micWorker.front(), SIGKILL);
    waitForEndOf(micWorker);
    mic->hear(sentence, 10);
    speaker->hear(sentence, 0);
    run(mic->session().finish());
    run(speaker->session().finish());
    ASSERT_FALSE(mic->finals().empty());
    EXPECT_THAT(mic->finals().back().text, HasSubstr("thousand dollars"));
    EXPECT_NEAR(mic->finals().back().startTime, 10.5, 0.3);
    EXPECT_THAT(speaker->text(), HasSubstr("thousand dollars"));
}

TEST_F(LiveSpeechTest, AStreamWhoseWorkersAllDieEnds) {
    const auto mic = started(AudioChannel::mic);
    mic->hear(silence(1), 0);
    for (int worker = 0; worker <= 3; ++worker) {
        const std::vector<pid_t> running = children();
        ASSERT_THAT(running, SizeIs(1));
        kill(running.front(), SIGKILL);
        waitForEndOf(running);
    }
    EXPECT_THAT(children(), IsEmpty());
    run(mic->session().finish());
}

TEST_F(LiveSpeechTest, AWorkerStaysWarmAsLongAsItListens) {
    auto brief = settings();
    brief.worker.pingInterval = std::chrono::milliseconds(100);
    brief.worker.unansweredPings = 300;
    brief.worker.idleTime = std::chrono::milliseconds(100);
    useSettings(brief);
    const auto mic = started(AudioChannel::mic);
    const testing::TemporaryFolder folder;
    testing::writeWav(folder / "file.wav", silence(1));
    const auto analyzer = recognition->makeAnalyzer({.locale = "en_US"});
    run(analyzer->start(SpeechInputFile{.path = folder / "file.wav", .startTime = 0, .progress = {}}));
    ASSERT_THAT(children(), SizeIs(2));
    EXPECT_EQ(run(analyzer->nextResult()), std::nullopt);
    while (children().size() == 2) { // until the file's worker has been idle for too long
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    mic->hear(speak("rms", budget) + silence(1), 0);
    run(mic->session().finish());
    EXPECT_THAT(mic->text(), HasSubstr("thousand dollars"));
}

TEST_F(LiveSpeechTest, AWorkerThatFallsBehindLosesTheOldestAndKeepsTheTimes) {
    const auto mic = started(AudioChannel::mic);
    const pid_t worker = children().front();
    kill(worker, SIGSTOP);
    mic->hear(speak("rms", budget) + silence(4), 0);
    mic->hear(silence(40), 8); // pushes the sentence out, but for what was under way
    mic->hear(silence(2) + speak("slt", proposal) + silence(2), 48);
    kill(worker, SIGCONT);
    run(mic->session().finish());
    ASSERT_FALSE(mic->finals().empty());
    const TranscriptSegment last = mic->finals().back();
    EXPECT_THAT(last.text, HasSubstr("friday afternoon"));
    EXPECT_NEAR(last.startTime, 50, 0.3);
    EXPECT_THAT(mic->text(), ::testing::Not(HasSubstr("this year")));
}

TEST_F(LiveSpeechTest, WhatIsGivenUpLeavesNothingBehind) {
    std::size_t descriptors = 0;
    for (int round = 0; round < 2; ++round) {
        useSettings(settings());
        {
            Channel mic(AudioChannel::mic, *recognition, conversion);
            testing::RunningTask<void> starting(context, mic.session().start(captureFormat));
            starting.cancel();
            runUntil([&] { return starting.hasEnded(); });
            EXPECT_ANY_THROW(starting.result());
            run(mic.session().finish());
        }
        auto abandoned = started(AudioChannel::speaker);
        recognition.reset();
        abandoned->hear(silence(1), 0);
        run(abandoned->session().finish());
        EXPECT_THAT(children(), IsEmpty());
        abandoned.reset();
        testing::poll(context);
        const std::size_t before = std::exchange(descriptors, testing::openDescriptors());
        EXPECT_TRUE(round == 0 || descriptors == before) << before << " and then " << descriptors;
    }
}

#ifdef TALKLEDGER_HAS_WHISPER

TEST_F(LiveSpeechTest, BothSidesShareOneModelAndOutliveItsWorker) {
    const testing::TemporaryFolder models;
    testing::writeModel(models / "ggml-test.bin");
    auto japanese = settings();
    japanese.desktopLocale = "ja_JP";
    japanese.installedModels = models / "";
    useSettings(japanese);
    auto mic = started(AudioChannel::mic);
    auto speaker = started(AudioChannel::speaker);
    const std::vector<pid_t> workers = children();
    ASSERT_THAT(workers, SizeIs(1));
    mic->hear(silence(1) + speak("rms", budget) + silence(2), 100);
    speaker->hear(silence(2) + speak("slt", proposal) + silence(2), 100.5);
    runUntil([&] { return !mic->finals().empty() && !speaker->finals().empty(); });
    EXPECT_EQ(mic->finals().front().text, "we have a budget");
    EXPECT_NEAR(mic->finals().front().startTime, 101, 0.5);
    EXPECT_NEAR(speaker->finals().front().startTime, 102.5, 0.5);
    mic->hear(speak("slt", proposal), 110);
    kill(workers.front(), SIGKILL);
    waitForEndOf(workers);
    EXPECT_THAT(children(), SizeIs(1)) << "one for both again";
    mic->hear(silence(1) + speak("rms", budget) + silence(2), 120);
    speaker->hear(silence(1) + speak("slt", proposal) + silence(2), 120);
    const auto goesOn = [](const Channel& channel) { return channel.finals().back().startTime > 120; };
    runUntil([&] { return goesOn(*mic) && goesOn(*speaker); });
    EXPECT_NEAR(mic->finals().front().startTime, 101, 0.5) << "what was final stays";
    EXPECT_NEAR(speaker->finals().back().startTime, 121, 0.5);
    kill(children().front(), SIGKILL); // and nobody has finished when the worker is gone
    run(mic->session().finish());
    run(speaker->session().finish());

    mic = started(AudioChannel::mic);
    mic->hear(speak("rms", budget) + silence(1), 0);
    run(mic->session().finish());
    EXPECT_THAT(mic->finals(), SizeIs(1));
}

#endif

} // namespace
} // namespace talkledger
