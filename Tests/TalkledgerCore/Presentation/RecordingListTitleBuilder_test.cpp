#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Support/Text.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

constexpr AppCopy english{DisplayLanguage::english};
constexpr AppCopy japanese{DisplayLanguage::japanese};

std::string listTitle(const std::string& title, const std::optional<SalesSummary>& summary, int maxLength = 36) {
    RecordingSession session;
    session.title = title;
    return RecordingListTitleBuilder{maxLength}.title(session, summary, english);
}

SalesSummary summaryOf(std::string overview) {
    SalesSummary summary;
    summary.overview = std::move(overview);
    return summary;
}

bool isReplaced(const std::string& title) {
    return listTitle(title, summaryOf("useful")) == "useful";
}

TEST(RecordingListTitleBuilder, ReplacesGeneratedTitlesOnly) {
    EXPECT_TRUE(isReplaced("商談 2025-06-02 10:30:00"));
    EXPECT_TRUE(isReplaced("Sales call 2025-06-02 10:30:00"));
    EXPECT_TRUE(isReplaced("商談 ２０２５-０６-０２ １０:３０:００"));
    EXPECT_TRUE(isReplaced("商談 2025-06-02 10:30:00\n"));
    EXPECT_TRUE(isReplaced("商談 2025-06-02 10:30:00\r\n"));
    EXPECT_FALSE(isReplaced("商談 2025-06-02 10:30:00\n\n"));
    EXPECT_FALSE(isReplaced("商談\u30002025-06-02 10:30:00"));
    EXPECT_FALSE(isReplaced("商談 2025-06-02 10:30:0"));
    EXPECT_FALSE(isReplaced("商談 2025-06-02 10:30:000"));
    EXPECT_FALSE(isReplaced("sales call 2025-06-02 10:30:00"));
    EXPECT_FALSE(isReplaced(" Sales call 2025-06-02 10:30:00"));
    EXPECT_FALSE(isReplaced("Sales call 2025-06-02 10:30:00 with Sato"));
    EXPECT_EQ(listTitle("商談 2025-06-02 10:30:00", std::nullopt), "Sales call 2025-06-02 10:30:00");
}

TEST(RecordingListTitleBuilder, TakesTheMostUsefulLineOfTheSummary) {
    const auto titleOf = [](const SalesSummary& summary) {
        return listTitle("Sales call 2025-06-02 10:30:00", summary);
    };
    SalesSummary summary = summaryOf("\u3000Customer discussion captured for review.\n");
    summary.decisionCriteria = {"never"};
    summary.followUpEmailDraft = "never";
    EXPECT_EQ(titleOf(summary), "Sales call 2025-06-02 10:30:00");
    summary.budgetSignals = {"budget"};
    EXPECT_EQ(titleOf(summary), "budget");
    summary.objections = {"objection"};
    EXPECT_EQ(titleOf(summary), "objection");
    summary.customerPains = {"pain"};
    EXPECT_EQ(titleOf(summary), "pain");
    summary.unresolvedQuestions = {"question"};
    EXPECT_EQ(titleOf(summary), "question");
    summary.nextActions = {" ", "Send the deck. ", "later"};
    EXPECT_EQ(titleOf(summary), "Send the deck.");
    summary.decisions = {"", "\n"};
    EXPECT_EQ(titleOf(summary), "Send the deck.");
    summary.decisions = {"decision"};
    EXPECT_EQ(titleOf(summary), "decision");
    summary.overview = " 予算の相談 ";
    EXPECT_EQ(titleOf(summary), "予算の相談");
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
    EXPECT_EQ(listTitle(forty, std::nullopt, -1), forty);
    EXPECT_EQ(listTitle("a\xFF"
                        "b\xFF"
                        "c",
                        std::nullopt, 4),
              "a...");
}

TEST(RecordingListTitleBuilder, ShowsTheTitleInTheDisplayLanguage) {
    RecordingSession session;
    session.title = "Sales call with Sato";
    EXPECT_EQ(RecordingListTitleBuilder().title(session, summaryOf("x"), japanese), "商談 with Sato");
}

} // namespace
} // namespace talkledger
