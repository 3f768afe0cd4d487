#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerWorkers/Summarizer/AnswerGrammar.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {
namespace {

const GenerationSchema schema = GeneratedSalesSummary::generationSchema();

GeneratedSalesSummary parse(const std::string& answer) {
    return decodeJson<GeneratedSalesSummary>(answer, {.name = "The answer", .advice = ""});
}

bool isAccepted(std::string_view text) {
    const AnswerGrammar grammar(schema);
    return AnswerCursor(grammar).advance(text);
}

std::string randomString(std::mt19937& random) {
    static const std::vector<std::string> characters{"a", " ",          "}",     "]",     ",",    "予",
                                                     "é", "\U0001F600", R"(\")", R"(\\)", R"(\n)"};
    std::string text = "\"";
    for (auto length = random() % 6; length > 0; --length) {
        text += characters[random() % characters.size()];
    }
    return text + "\"";
}

std::string randomValue(const GenerationProperty& property, std::mt19937& random) {
    if (!property.isList) {
        return randomString(random);
    }
    std::string list = "[";
    const auto count = random() % 9;
    for (std::size_t entry = 0; entry < count; ++entry) {
        list += (entry == 0 ? "" : ",") + randomString(random);
    }
    return list + "]";
}

std::string randomAnswer(std::mt19937& random) {
    std::string answer;
    for (const GenerationProperty& property : schema.properties) {
        answer += (answer.empty() ? "{\"" : ",\"") + property.name + "\":" + randomValue(property, random);
    }
    return answer + "}";
}

/// Wherever an answer is cut, its end is found; and what is forced is what a whole answer has there.
TEST(AnswerGrammar, MakesEveryBeginningOfAnAnswerWhole) {
    const AnswerGrammar grammar(schema);
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        const std::string answer = randomAnswer(random);
        AnswerCursor cursor(grammar);
        for (std::size_t length = 0; length < answer.size(); ++length) {
            std::string text = answer.substr(0, length - cursor.unfinishedLength());
            text += cursor.closing();
            ASSERT_NO_THROW(parse(text)) << text;
            ASSERT_EQ(answer.compare(length, cursor.forced().size(), cursor.forced()), 0) << cursor.forced();
            ASSERT_TRUE(cursor.advance(answer.substr(length, 1))) << answer.substr(0, length + 1);
        }
        EXPECT_TRUE(cursor.isComplete());
        EXPECT_EQ(cursor.closing(), "");
        EXPECT_FALSE(cursor.advance(" "));
    }
}

TEST(AnswerGrammar, RefusesWhatNoAnswerBeginsWith) {
    const std::string list = R"({"overview":"","decisions":[)";
    EXPECT_TRUE(isAccepted(list + R"("1","2","3","4","5","6","7","8"])"));
    for (const std::string& text : {
             std::string(" {"),
             std::string(R"({"decisions")"),
             std::string(R"({"overview":[)"),
             R"({"overview":")" + std::string("\n"),
             R"({"overview":")" + std::string("\x7F"),
             R"({"overview":")" + std::string("\xC0\x80"),
             R"({"overview":")" + std::string("\xED\xA0\x80"),
             R"({"overview":")" + std::string("\xF4\x90\x80\x80"),
             R"({"overview":")" + std::string("\xC2\x85"),
             R"({"overview":")" + std::string("\xE4\""),
             std::string(R"({"overview":"\u00)"),
             list + ",",
             list + R"("a" )",
             list + R"("a",])",
             list + R"("1","2","3","4","5","6","7","8",)",
         }) {
        EXPECT_FALSE(isAccepted(text)) << text;
    }
}

} // namespace
} // namespace talkledger
