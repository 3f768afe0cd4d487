#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace talkledger {
namespace {

template <typename AnyMessage, typename Message>
void expectToComeBack(const Message& message) {
    FrameDecoder decoder;
    decoder.append(encodeMessage(message));
    std::optional<Frame> frame = decoder.next();
    ASSERT_TRUE(frame);
    EXPECT_EQ(decodeMessage<AnyMessage>(*std::move(frame)), AnyMessage(message)) << Message::type;
}

template <typename AnyMessage>
void expectRefused(const std::string& head, const std::vector<std::byte>& payload = {}) {
    EXPECT_THROW(decodeMessage<AnyMessage>({.head = head, .payload = payload}), std::runtime_error)
        << head.substr(0, 100);
}

TEST(TranscriberMessages, ComeBackAsTheyWere) {
    expectToComeBack<MessageToTranscriber>(Ping{});
    expectToComeBack<MessageToTranscriber>(TranscribeFile{.request = 3,
                                                          .path = "/home/\xE4\xFF \"%20\"/\xE5\x95\x86\xE8\xAB\x87.wav",
                                                          .engine = {.locale = "en_US"},
                                                          .startTime = 0.1 + 0.2});
    expectToComeBack<MessageToTranscriber>(CancelRequest{.request = std::numeric_limits<std::int64_t>::max()});
    expectToComeBack<MessageToTranscriber>(StartStream{
        .request = 4,
        .engine = {.locale = "en_US", .model = "/m/a b.bin", .voiceModel = "/v.bin", .otherLanguages = {"ja", "en"}},
        .reportsHypotheses = true});
    expectToComeBack<MessageToTranscriber>(
        StreamAudio{.request = 4, .start = -0.02, .payload = {std::byte{0}, std::byte{0x80}}});
    expectToComeBack<MessageToTranscriber>(FinishStream{.request = 4});
    expectToComeBack<MessageFromTranscriber>(Hello{.version = 9});
    expectToComeBack<MessageFromTranscriber>(Pong{});
    expectToComeBack<MessageFromTranscriber>(TranscriptionStarted{.request = 1});
    expectToComeBack<MessageFromTranscriber>(
        TranscriptionResult{.request = 1, .text = "\xE5\x95\x86\xE8\xAB\x87 \"\\\n", .start = 12.34, .duration = 1e-3});
    expectToComeBack<MessageFromTranscriber>(TranscriptionResult{.text = "we have", .isFinal = false});
    expectToComeBack<MessageFromTranscriber>(StreamConsumed{.request = 4, .samples = 1365});
    expectToComeBack<MessageFromTranscriber>(TranscriptionProgress{.request = 1, .share = 1});
    expectToComeBack<MessageFromTranscriber>(TranscriptionFinished{
        .request = 1, .caught = {.withoutVoice = 1, .withoutSpeech = 2, .unlikely = 3, .repeated = 4}});
    expectToComeBack<MessageToTranscriber>(CheckModel{.request = 5, .path = "/models/\xFF.bin"});
    expectToComeBack<MessageFromTranscriber>(
        RequestFailed{.request = 1, .description = "It broke.", .lack = EngineLack::memory});
}

TEST(TranscriberMessages, AreRefusedWhenAnythingIsWrong) {
    using From = MessageFromTranscriber;
    using To = MessageToTranscriber;
    expectRefused<From>("");
    expectRefused<From>("{");
    expectRefused<From>("[]");
    expectRefused<From>("{}");
    expectRefused<From>(R"({"type": 4})");
    expectRefused<From>(R"({"type": "ping"})"); // of the other direction
    expectRefused<From>(R"({"type": "pong"})", {std::byte{1}});
    const auto result = [](const std::string& members) {
        return R"({"type": "result", "request": 1, "isFinal": true, )" + members + "}";
    };
    EXPECT_NO_THROW(decodeMessage<From>({.head = result(R"("text": "", "start": 0, "duration": 0)"), .payload = {}}));
    expectRefused<From>(result(R"("text": 5, "start": 0, "duration": 0)"));
    expectRefused<From>(result(R"("text": "", "start": null, "duration": 0)"));
    expectRefused<From>(result(R"("text": "", "start": 1e999, "duration": 0)"));
    expectRefused<From>(result(R"("text": "", "start": 0, "duration": 1e300)"));
    expectRefused<From>(R"({"type": "consumed", "request": 1, "samples": -1})");
    expectRefused<From>(R"({"type": "consumed", "request": 1, "samples": 9999999})");
    expectRefused<From>("{\"type\": \"failed\", \"request\": 1, \"description\": \"\xFF\"}");
    expectRefused<From>(R"({"type": "progress", "request": 1, "share": 1.5})");
    expectRefused<From>(R"({"type": "finished", "request": 99999999999999999999})");
    expectRefused<From>(std::string(Frame::maximumHeadLength, '['));
    expectRefused<To>(
        R"({"type": "transcribeFile", "request": 1, "file": "mic.wav", "engine": {"locale": "", "otherLanguages": []}, "startTime": 0})");
    expectRefused<To>(R"({"type": "streamAudio", "request": 1, "start": -2e9})", {std::byte{0}, std::byte{0}});
    expectRefused<To>(R"({"type": "finishStream", "request": 1})", {std::byte{0}});
    expectRefused<To>(
        R"({"type": "transcribeFile", "request": 1, "file": "file:///a%00b", "engine": {"locale": "", "otherLanguages": []}, "startTime": 0})");
}

} // namespace
} // namespace talkledger
