#include "Fakes/FakeAudioConversion.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeSpeechRecognition.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSession.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Error = LiveSpeechTranscriptionSessionError;

constexpr AudioFormat captureFormat{AudioSampleFormat::float32, 48000, 2, true};
constexpr AudioFormat speechFormat{AudioSampleFormat::int16, 16000, 1, true};
constexpr MonotonicTime origin{1h};

SharedAudioBuffer captured(MonotonicTime time, double rate = 48000) {
    AudioBuffer buffer = testing::makeFloatBuffer(std::vector<float>(960), 2, time);
    buffer.format.sampleRate = rate;
    return std::make_shared<const AudioBuffer>(std::move(buffer));
}

class LiveSpeechTranscriptionSessionTest : public ::testing::Test {
protected:
    using Session = LiveSpeechTranscriptionSession;

    LiveSpeechTranscriptionSessionTest() { recognition.scripts["ja_JP"] = {}; }

    std::shared_ptr<Session> makeSession(AudioChannel channel = AudioChannel::mic, SpeakerRole role = SpeakerRole::me) {
        return std::make_shared<Session>(
            "ja_JP", channel, role, [this](const TranscriptSegment& segment) { segments.push_back(segment); },
            recognition, conversion, origin, [this] { ++ends; }, finishTimeout);
    }

    std::shared_ptr<Session> startedSession() {
        auto session = makeSession();
        testing::runTask(context, session->start(captureFormat));
        return session;
    }

    std::string failureOfStart(Session& session) {
        return testing::failureText([&] { testing::runTask(context, session.start(captureFormat)); });
    }

    testing::FakeLiveAnalysis& live() { return *recognition.live.back(); }

    std::optional<AnalyzerInput> nextInput() { return testing::runTask(context, live().inputs->next()); }

    void say(SpeechTranscriptionResult result) {
        live().say(std::move(result));
        testing::poll(context);
    }

    testing::FakeSpeechRecognition::Script& japanese() { return recognition.scripts.at("ja_JP"); }

    boost::asio::io_context context;
    testing::CallLog log;
    testing::FakeSpeechRecognition recognition{log};
    testing::FakeAudioConversion conversion;
    std::vector<TranscriptSegment> segments;
    int ends{0};
    std::chrono::duration<double> finishTimeout{1h};
};

TEST_F(LiveSpeechTranscriptionSessionTest, SetsUpInOrderAndInstallsWhatIsMissing) {
    startedSession();
    EXPECT_THAT(recognition.steps.calls(),
                ElementsAre("supportedLocale ja_JP", "status ja_JP", "makeAnalyzer ja_JP",
                            "bestAvailableAudioFormat from 48000", "prepareToAnalyze", "start"));
    EXPECT_EQ(live().format, speechFormat);
    for (const SpeechAssetStatus status : {SpeechAssetStatus::supported, SpeechAssetStatus::downloading}) {
        japanese().status = status;
        startedSession();
    }
    EXPECT_THAT(log.calls(), ElementsAre("install ja_JP", "install ja_JP"));
}

TEST_F(LiveSpeechTranscriptionSessionTest, EveryFailureOfTheStartLeavesItIdle) {
    using Script = testing::FakeSpeechRecognition::Script;

    struct Expectation {
        std::function<void(Script&)> spoil;
        std::string text;
        std::string lastStep;
    };

    const std::string noAssets = "Live speech transcription assets are unavailable for locale ja-x.";
    const Expectation expectations[] = {
        {[](Script& script) { script.status = SpeechAssetStatus::unsupported; }, noAssets, "status ja-x"},
        {[](Script& script) {
             script.status = SpeechAssetStatus::supported;
             script.offersInstallation = false;
         },
         noAssets, "assetInstallationRequest ja-x"},
        {[](Script& script) {
             script.status = SpeechAssetStatus::downloading;
             script.installationFailure = "no network";
         },
         "no network", "assetInstallationRequest ja-x"},
        {[](Script& script) { script.bestFormat.reset(); },
         "Live speech transcription could not resolve a compatible audio format.",
         "bestAvailableAudioFormat from 48000"},
        {[](Script& script) { script.prepareFailure = "no memory"; }, "no memory", "prepareToAnalyze"},
        {[](Script& script) { script.liveStartFailure = "no start"; }, "no start", "start"},
    };
    for (const auto& [spoil, text, lastStep] : expectations) {
        recognition.scripts["ja_JP"].supportedLocale = "ja-x";
        Script& script = recognition.scripts["ja-x"] = {};
        spoil(script);
        const auto session = makeSession();
        EXPECT_EQ(failureOfStart(*session), text);
        EXPECT_EQ(recognition.steps.calls().back(), lastStep);
        session->append(captured(origin));
        testing::poll(context);
        testing::runTask(context, session->finish());
        EXPECT_EQ(recognition.steps.calls().back(), lastStep) << "there was nothing to finish";
    }
    EXPECT_TRUE(live().isDestroyed) << "the collector has let it go";
    EXPECT_THAT(conversion.log.calls(), IsEmpty());

    recognition.scripts.clear();
    EXPECT_EQ(failureOfStart(*makeSession()), "Live speech transcription does not support locale ja_JP.");
    recognition.available = false;
    EXPECT_EQ(failureOfStart(*makeSession()), "Live speech transcription is unavailable on this Mac.");
    EXPECT_EQ(recognition.steps.calls().back(), "supportedLocale ja_JP");
}

TEST_F(LiveSpeechTranscriptionSessionTest, FeedsTheRecogniserBetweenStartAndFinish) {
    const auto session = makeSession();
    session->append(captured(origin));
    recognition.liveStart.close();
    testing::RunningTask<void> starting(context, session->start(captureFormat));
    EXPECT_FALSE(starting.hasEnded());
    session->append(captured(origin + 250ms)); // taken from now on
    recognition.liveStart.open();
    testing::poll(context);
    starting.result();

    auto exact = std::make_shared<AudioBuffer>();
    exact->format = speechFormat;
    exact->time = origin - 5ms; // a device may hand over a moment of before
    session->append(exact);
    const std::optional<AnalyzerInput> first = nextInput();
    EXPECT_EQ(first->buffer->format, speechFormat);
    EXPECT_DOUBLE_EQ(first->bufferStartTime, 0.25);
    const std::optional<AnalyzerInput> second = nextInput();
    EXPECT_EQ(second->buffer, exact);
    EXPECT_DOUBLE_EQ(second->bufferStartTime, -0.005);

    testing::runTask(context, session->finish());
    session->append(captured(origin));
    EXPECT_EQ(nextInput(), std::nullopt);
    EXPECT_THAT(conversion.capacities, SizeIs(1));
}

TEST_F(LiveSpeechTranscriptionSessionTest, DropsWhatCannotBeConvertedAndGoesOn) {
    const auto session = startedSession();
    conversion.frames = 0;
    session->append(captured(origin));
    conversion.unsupportedRate = 44100;
    session->append(captured(origin, 44100));
    conversion.frames = 10;
    session->append(captured(origin + 1s));
    EXPECT_DOUBLE_EQ(nextInput()->bufferStartTime, 1);
    EXPECT_THAT(conversion.log.calls(), ElementsAre("converter for 48000", "prime none"));
    testing::runTask(context, session->finish());
}

TEST_F(LiveSpeechTranscriptionSessionTest, TellsEachResultThatHasText) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const auto session = makeSession(AudioChannel::mic, SpeakerRole::customer);
    testing::runTask(context, session->start(captureFormat));
    say({" \n", {1, 1}, true});
    say({"\xE3\x80\x80 budget \n", {1.5, 2}, false});
    say({"budget of", {infinity, notANumber}, true});
    say({"last", {-1, -infinity}, true});
    const auto segment = [](double start, double duration, const char* text, TranscriptSegmentStatus status) {
        return TranscriptSegment(AudioChannel::mic, SpeakerRole::me, start, duration, text, status);
    };
    EXPECT_THAT(segments, ElementsAre(segment(1.5, 2, "budget", TranscriptSegmentStatus::partial),
                                      segment(0, 0, "budget of", TranscriptSegmentStatus::final),
                                      segment(-1, 0, "last", TranscriptSegmentStatus::final)));
    testing::runTask(context, session->finish());
}

TEST_F(LiveSpeechTranscriptionSessionTest, FinishesWhenEverythingHasBeenTold) {
    const auto session = startedSession();
    session->append(captured(origin));
    live().say({"the last words", {1, 1}, true});
    // The fake takes inputs up to their end: a stream that was not finished first would keep it waiting.
    testing::runTask(context, session->finish());
    EXPECT_THAT(segments, SizeIs(1));
    EXPECT_EQ(recognition.steps.calls().back(), "finalize");
    testing::poll(context);
    EXPECT_TRUE(live().isDestroyed);
    testing::runTask(context, session->finish());
    EXPECT_THAT(recognition.steps.calls(), SizeIs(7)) << "a second finish does nothing";
}

TEST_F(LiveSpeechTranscriptionSessionTest, CancelsWhatCannotBeFinishedOrHangs) {
    finishTimeout = 1ms;
    recognition.finalizing.close();
    for (const bool fails : {false, true}) {
        japanese().finalizeFailure = fails ? std::optional<std::string>("the recogniser is gone") : std::nullopt;
        const auto session = startedSession();
        testing::runTask(context, session->finish());
        EXPECT_EQ(recognition.finalizing.cancelledCount(), 1);
        EXPECT_EQ(recognition.steps.calls().back(), "cancel");
        testing::poll(context);
        EXPECT_TRUE(live().isDestroyed) << "the collector, which waited for a result, was cancelled";
        EXPECT_EQ(ends, 0);
    }
}

TEST_F(LiveSpeechTranscriptionSessionTest, AFailureOfTheResultsIsTheEndOfThem) {
    const auto session = startedSession();
    live().resultFailure = "the recogniser crashed";
    live().end();
    testing::poll(context);
    session->append(captured(origin));
    EXPECT_THAT(segments, IsEmpty());
    EXPECT_EQ(ends, 1);
    testing::runTask(context, session->finish());
    EXPECT_EQ(recognition.steps.calls().back(), "cancel");
}

TEST_F(LiveSpeechTranscriptionSessionTest, EndsWithoutAFinishWhenNobodyKeepsIt) {
    auto session = startedSession();
    std::thread([last = std::exchange(session, nullptr)]() mutable { last.reset(); }).join();
    testing::poll(context);
    EXPECT_TRUE(live().isDestroyed);
}

TEST_F(LiveSpeechTranscriptionSessionTest, ACancelledStartLeavesItIdle) {
    const auto session = makeSession();
    recognition.liveStart.close();
    testing::RunningTask<void> starting(context, session->start(captureFormat));
    starting.cancel();
    EXPECT_TRUE(starting.hasEnded());
    EXPECT_ANY_THROW(starting.result());
    EXPECT_TRUE(live().isDestroyed);
    session->append(captured(origin));
    EXPECT_THAT(conversion.log.calls(), IsEmpty());
}

TEST_F(LiveSpeechTranscriptionSessionTest, CaptureMayGoOnThroughTheFinish) {
    const auto session = startedSession();
    std::atomic<bool> isFinished{false};
    std::atomic<int> appended{0};
    std::thread capture([&] {
        while (!isFinished) {
            session->append(captured(origin));
            ++appended;
        }
    });
    while (appended < 100) {
        std::this_thread::yield();
    }
    testing::runTask(context, session->finish());
    isFinished = true;
    capture.join();
    EXPECT_EQ(nextInput(), std::nullopt);
}

} // namespace
} // namespace talkledger
