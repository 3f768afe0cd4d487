#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"

#include <gtest/gtest.h>

#include <string>

namespace talkledger {
namespace {

TEST(SummarizerMessages, ComeBackAsTheyWere) {
    const AskModel question{.request = 3,
                            .model = "/home/\xE4\xFF \"%20\".gguf",
                            .instructions = "予算\n",
                            .prompt = "<|im_end|>",
                            .schema = GeneratedSalesSummary::generationSchema(),
                            .includesSchema = true,
                            .maximumTokens = 900,
                            .isProvisional = true};
    FrameDecoder decoder;
    decoder.append(encodeMessage(question));
    EXPECT_EQ(decodeMessage<MessageToSummarizer>(decoder.next().value()), MessageToSummarizer(question));
}

TEST(SummarizerMessages, AreRefusedWhenAnythingIsWrong) {
    const std::string property = R"({"name": "a", "description": "", "isList": true, "maximumCount": 8})";
    const auto ask = [](const std::string& properties, const std::string& maximumTokens) {
        return R"({"type": "ask", "request": 1, "model": "file:///m.gguf", "instructions": "", "prompt": "",
                   "schema": {"type": "", "description": "", "properties": [)" +
               properties + R"(]}, "includesSchema": true, "isProvisional": false, "maximumTokens": )" + maximumTokens +
               "}";
    };
    EXPECT_NO_THROW(decodeMessage<MessageToSummarizer>({.head = ask(property, "900"), .payload = {}}));
    for (const std::string& head : {
             ask("", "900"),
             ask(property, "0"),
             ask(property, "1000000"),
             ask(R"({"name": "a", "description": "", "isList": true, "maximumCount": -1})", "900"),
             std::string(R"({"type": "check", "request": 1, "model": "m.gguf"})"),
             std::string(R"({"type": "answer", "request": 1})"),
         }) {
        EXPECT_THROW(decodeMessage<MessageToSummarizer>({.head = head, .payload = {}}), std::runtime_error) << head;
    }
    EXPECT_THROW(decodeMessage<MessageFromSummarizer>(
                     {.head = R"({"type": "answer", "request": 1, "text": "", "promptTokens": 1, "reusedTokens": -1,
                                  "answerTokens": 1})",
                      .payload = {}}),
                 JsonError);
}

} // namespace
} // namespace talkledger
