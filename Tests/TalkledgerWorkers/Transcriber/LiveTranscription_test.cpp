#include "Fakes/FakeSpeechEngine.h"
#include "TalkledgerWorkers/Transcriber/LiveTranscription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int64_t number = 5;

StreamAudio audio(double start, std::size_t samples, std::int16_t value = 1000) {
    StreamAudio message{.request = number, .start = start, .payload = {}};
    const std::vector<std::int16_t> values(samples, value);
    const auto bytes = std::as_bytes(std::span(values));
    message.payload.assign(bytes.begin(), bytes.end());
    return message;
}

MessageFromTranscriber sound(double start, double duration) {
    return TranscriptionResult{.request = number, .text = "sound", .start = start, .duration = duration};
}

class LiveTranscriptionTest : public ::testing::Test {
protected:
    LiveTranscription make() {
        return {{.request = number, .engine = {.locale = "en_US"}},
                shelf,
                stop.get_token(),
                [this](const MessageFromTranscriber& message) { told.push_back(message); }};
    }

    testing::FakeSpeechScript script;
    EngineShelf shelf{testing::FakeSpeechEngine::factory(script)};
    std::stop_source stop;
    std::vector<MessageFromTranscriber> told;
};

TEST_F(LiveTranscriptionTest, TellsResultsOnTheTimeLineOfTheAudio) {
    LiveTranscription live = make();
    live.start();
    live.append(audio(90, 16000));
    live.append(audio(91.01, 8000)); // a jitter
    live.append(audio(91.5, 0));
    live.finish();
    EXPECT_THAT(told, ElementsAre(TranscriptionStarted{number}, sound(90, 1), StreamConsumed{number, 16000},
                                  sound(91, 0.5), StreamConsumed{number, 8000}, StreamConsumed{number, 0},
                                  TranscriptionResult{number, "end", 91.5, 0}, TranscriptionFinished{number}));
    live.append(audio(92, 100));
    live.finish();
    EXPECT_THAT(told, SizeIs(8)) << "nothing comes after the end";
}

TEST_F(LiveTranscriptionTest, AHoleIsAPauseAndTimesStayTrue) {
    LiveTranscription live = make();
    live.start();
    live.append(audio(0, 16000));
    live.append(audio(1.5, 16000)); // half a second was dropped
    live.append(audio(60, 16000));
    live.append(audio(60.9, 16000)); // and these overlap
    EXPECT_THAT(script.heard(), ElementsAre(16000, 8000, 16000, 32000, 16000, 16000));
    EXPECT_EQ(told[3], sound(1.5, 1));
    EXPECT_EQ(told[5], sound(60, 1));
    ASSERT_TRUE(std::holds_alternative<TranscriptionResult>(told[7]));
    EXPECT_NEAR(std::get<TranscriptionResult>(told[7]).start, 60.9, 1e-9);
}

TEST_F(LiveTranscriptionTest, AFailureEndsIt) {
    script.hearing = [](const std::string&) { throw SpeechEngineError("the engine broke"); };
    LiveTranscription live = make();
    live.start();
    live.append(audio(0, 100));
    live.append(audio(1, 100));
    live.finish();
    EXPECT_THAT(told, ElementsAre(TranscriptionStarted{number}, RequestFailed{number, "the engine broke"}));

    told.clear();
    script.loading = [](const std::string& locale) { throw SpeechEngineError("no engine for " + locale); };
    EngineShelf empty(testing::FakeSpeechEngine::factory(script));
    LiveTranscription refused({.request = number, .engine = {.locale = "ja_JP"}}, empty, stop.get_token(),
                              [this](const MessageFromTranscriber& message) { told.push_back(message); });
    refused.start();
    refused.append(audio(0, 100));
    EXPECT_THAT(told, ElementsAre(RequestFailed{number, "no engine for ja_JP"}));
}

TEST_F(LiveTranscriptionTest, AStopEndsItsResults) {
    LiveTranscription live = make();
    live.start();
    stop.request_stop();
    live.append(audio(0, 100));
    live.finish();
    EXPECT_THAT(script.heard(), IsEmpty());
    EXPECT_THAT(told,
                ElementsAre(TranscriptionStarted{number}, StreamConsumed{number, 100}, TranscriptionFinished{number}));
}

} // namespace
} // namespace talkledger
