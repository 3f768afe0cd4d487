#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Support/Text.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

constexpr AppCopy english{DisplayLanguage::english};

std::string listTitle(const std::string& title, const std::optional<SalesSummary>& summary, int maxLength = 36) {
    RecordingSession session;
    session.title = title;
    return RecordingListTitleBuilder{maxLength}.title(session, summary, english);
}

TEST(RecordingListTitleBuilder, ReplacesGeneratedTitlesOnly) {
    SalesSummary summary;
    summary.overview = "useful";
    for (const char* generated : {"商談 2025-06-02 10:30:00", "Sales call 2025-06-02 10:30:00\n",
                                  "商談 ２０２５-０６-０２ １０:３０:００", "商談 2025-06-02 10:30:00\r\n"}) {
        EXPECT_EQ(listTitle(generated, summary), "useful") << generated;
    }
    for (const char* own : {"商談 2025-06-02 10:30:00\n\n", "商談\u30002025-06-02 10:30:00", "商談 2025-06-02 10:30:0",
                            "商談 2025-06-02 10:30:000", " Sales call 2025-06-02 10:30:00"}) {
        EXPECT_NE(listTitle(own, summary), "useful") << own;
    }
    EXPECT_EQ(listTitle("商談 2025-06-02 10:30:00", std::nullopt), "Sales call 2025-06-02 10:30:00");
}

TEST(RecordingListTitleBuilder, TakesTheMostUsefulLineOfTheSummary) {
    SalesSummary summary;
    const auto titleWith = [&](std::string SalesSummary::*text, const std::string& value) {
        summary.*text = value;
        return listTitle("Sales call 2025-06-02 10:30:00", summary);
    };
    const auto titleWithList = [&](std::vector<std::string> SalesSummary::*list, std::vector<std::string> entries) {
        summary.*list = std::move(entries);
        return listTitle("Sales call 2025-06-02 10:30:00", summary);
    };
    EXPECT_EQ(titleWith(&SalesSummary::overview, "\u3000Customer discussion captured for review.\n"),
              "Sales call 2025-06-02 10:30:00");
    EXPECT_EQ(titleWithList(&SalesSummary::budgetSignals, {"budget"}), "budget");
    EXPECT_EQ(titleWithList(&SalesSummary::objections, {"objection"}), "objection");
    EXPECT_EQ(titleWithList(&SalesSummary::customerPains, {"pain"}), "pain");
    EXPECT_EQ(titleWithList(&SalesSummary::unresolvedQuestions, {"question"}), "question");
    EXPECT_EQ(titleWithList(&SalesSummary::nextActions, {" ", "Send the deck. ", "later"}), "Send the deck.");
    EXPECT_EQ(titleWithList(&SalesSummary::decisions, {"", "\n"}), "Send the deck.");
    EXPECT_EQ(titleWithList(&SalesSummary::decisions, {"decision"}), "decision");
    EXPECT_EQ(titleWith(&SalesSummary::overview, " 予算の相談 "), "予算の相談");
}

TEST(RecordingListTitleBuilder, ShortensByCharacters) {
    const std::string family = "👨‍👩‍👧";
    std::string forty;
    for (int count = 0; count < 40; ++count) {
        forty += family;
    }
    EXPECT_EQ(listTitle(forty, std::nullopt), text::prefix(forty, 33) + "...");
    EXPECT_EQ(listTitle(forty, std::nullopt, 40), forty);
    EXPECT_EQ(listTitle(forty, std::nullopt, 4), family + "...");
    EXPECT_EQ(listTitle(forty, std::nullopt, 3), forty);
}

} // namespace
} // namespace talkledger
