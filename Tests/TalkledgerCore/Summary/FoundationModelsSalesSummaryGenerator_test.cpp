#include "Fakes/FakeLanguageModel.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/GeneratedSalesSummary.h"
#include "TalkledgerCore/Support/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;
using Generator = FoundationModelsSalesSummaryGenerator;

constexpr std::size_t headBytes = 492;

constexpr const char* answer = R"({"overview": " 概要。\n", "decisions": ["", " 決定 ", "　"],
    "customerPains": [], "decisionCriteria": ["価格", "価格"], "budgetSignals": [], "objections": [],
    "nextActions": ["a", "b", "c", "d", "e", "f", "g", "h", "i"], "unresolvedQuestions": [],
    "followUpEmailDraft": "  "})";

TranscriptSegment said(const std::string& text, double start = 0, AudioChannel channel = AudioChannel::speaker,
                       TranscriptSegmentStatus status = TranscriptSegmentStatus::final) {
    return {channel, structuralSpeakerRole(channel), start, 1, text, status};
}

TEST(SalesSummaryPrompt, ListsEverySpokenLineBehindTheHead) {
    const TranscriptDocument document{
        {said("予算は6月に確定します", 65), said(" \n　"),
         said("\tわかりました ", 59.9, AudioChannel::mic, TranscriptSegmentStatus::partial)}};
    const std::string prompt = Generator::prompt(document);
    EXPECT_THAT(prompt, StartsWith("以下は営業商談の文字起こしです。\n\n抽出する項目:\n"));
    EXPECT_EQ(prompt.substr(headBytes), "[01:05] customer final: 予算は6月に確定します\n"
                                        "[00:59] sales partial: わかりました");
    EXPECT_EQ(Generator::prompt({{said(" "), said("\n")}}), "");
}

TEST(SalesSummaryPrompt, KeepsTheLastCharactersAsReadersCountThem) {
    // Five scalars and 25 bytes, yet one character.
    const std::string family = "👨‍👩‍👦";
    std::string families;
    for (int count = 0; count < 12'010; ++count) {
        families += family;
    }
    const std::string kept = Generator::prompt({{said(families)}}).substr(headBytes);
    EXPECT_EQ(text::characterCount(kept), 12'000U);
    EXPECT_THAT(kept, StartsWith(family));

    const std::string stamp = "[00:00] customer final: ";
    const std::string fitting(12'000 - stamp.size(), 'x');
    EXPECT_EQ(Generator::prompt({{said(fitting)}}).substr(headBytes), stamp + fitting);
    EXPECT_EQ(Generator::prompt({{said(fitting + "y")}}).substr(headBytes), stamp.substr(1) + fitting + "y");
}

TEST(SalesSummaryPrompt, StampsMinutesWithoutHours) {
    EXPECT_EQ(Generator::timestamp(3725.9), "62:05");
    EXPECT_EQ(Generator::timestamp(1e17), "1666666666666666:40");
    EXPECT_EQ(Generator::timestamp(-75), "00:00");
    EXPECT_EQ(Generator::timestamp(std::nan("")), "00:00");
    EXPECT_EQ(Generator::timestamp(std::numeric_limits<double>::infinity()), Generator::timestamp(1e300));
}

class SalesSummaryGeneratorTest : public ::testing::Test {
protected:
    testing::FakeLanguageModel model;
    Generator generator{model};

    SalesSummary summarize(const std::string& text) { return testing::runTask(generator.summary({{said(text)}})); }
};

TEST_F(SalesSummaryGeneratorTest, AsksOncePerRequestAndCleansTheAnswer) {
    model.answer = answer;
    const SalesSummary summary = summarize("予算");
    EXPECT_EQ(summary.overview, "概要。");
    EXPECT_THAT(summary.decisions, ElementsAre("決定"));
    EXPECT_THAT(summary.decisionCriteria, ElementsAre("価格", "価格"));
    EXPECT_EQ(summary.nextActions.size(), 9U);
    EXPECT_EQ(summary.followUpEmailDraft, "");

    EXPECT_EQ(model.instructions.size(), 417U);
    EXPECT_THAT(model.prompt, EndsWith("文字起こし:\n[00:00] customer final: 予算"));
    EXPECT_TRUE(model.schemaIsIncluded);
    EXPECT_EQ(model.options.maximumResponseTokens, 900);
    EXPECT_FALSE(model.options.isProvisional);
    EXPECT_EQ(model.schema.properties.size(), 9U);
    summarize("予算");
    EXPECT_EQ(model.sessionCount, 2);
}

TEST_F(SalesSummaryGeneratorTest, NeedsNoModelForNothing) {
    model.state.isAvailable = false;
    EXPECT_EQ(summarize(" \n"), SalesSummary());
    EXPECT_EQ(model.availabilityCount, 0);
}

TEST_F(SalesSummaryGeneratorTest, SaysWhyTheModelIsUnavailable) {
    model.state.isAvailable = false;
    const auto failure = [&] { return testing::failureText([&] { summarize("words"); }); };
    model.state.reason = UnavailableReason::deviceNotEligible;
    EXPECT_EQ(failure(), "Foundation Models is unavailable: this Mac is not eligible for Apple Intelligence.");
    model.state.lack = LanguageModelLack::model;
    EXPECT_THAT(failure(), StartsWith("Foundation Models is unavailable: no language model is installed. Choose one"));
    EXPECT_EQ(model.sessionCount, 0);
}

TEST_F(SalesSummaryGeneratorTest, PassesOnTheSessionsErrorAndRefusesABrokenAnswer) {
    model.failure = "The context is exceeded.";
    EXPECT_EQ(testing::failureText([&] { summarize("words"); }), "The context is exceeded.");
    model.failure.reset();
    const std::string whole = answer;
    std::string wrongType = whole;
    wrongType.replace(wrongType.find("[]"), 2, "{}");
    for (const std::string& broken : {std::string(), std::string("{}"), whole.substr(0, 120), wrongType}) {
        model.answer = broken;
        EXPECT_THAT(testing::failureText([&] { summarize("words"); }), StartsWith("The language model's answer"))
            << broken;
    }
}

} // namespace
} // namespace talkledger
