#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"
#include "TalkledgerCore/Support/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Builder = SalesSummaryBuilder;

TranscriptSegment said(AudioChannel channel, const std::string& text) {
    return {channel, structuralSpeakerRole(channel), 0, 1, text, TranscriptSegmentStatus::partial};
}

SalesSummary ofCustomer(const std::string& text) {
    return Builder().build({{said(AudioChannel::speaker, text)}});
}

SalesSummary ofMe(const std::string& text) {
    return Builder().build({{said(AudioChannel::mic, text)}});
}

TEST(SalesSummaryBuilder, SaysSomethingAboutNothing) {
    SalesSummary expected;
    expected.overview = "Customer discussion captured for review.";
    expected.followUpEmailDraft = "Thanks for the call.";
    EXPECT_EQ(Builder().build({}), expected);
    EXPECT_EQ(ofCustomer(" \u3000。!? \r\n"), expected);
    EXPECT_THAT(Builder::splitSentences("a. \u3000! b？"), ElementsAre("a", "b"));
}

TEST(SalesSummaryBuilder, SummarisesAConversation) {
    const SalesSummary summary =
        Builder().build({{said(AudioChannel::mic, "We decided to start in May."),
                          said(AudioChannel::speaker, "The current issue is manual reporting. Our budget approved"),
                          said(AudioChannel::mic, "I will send the deck! 確認事項は価格です。"),
                          said(AudioChannel::speaker,
                               "for June needs a SECURITY REVIEW. The decision is to wait? WE DECIDED TO START IN "
                               "may")}});
    EXPECT_EQ(
        summary,
        (SalesSummary{.overview = "Customer discussed manual reporting, June budget, and security review.",
                      .decisions = {"to wait", "START IN may We decided to start in May"},
                      .customerPains = {"manual reporting"},
                      .decisionCriteria = {"security approval"},
                      .budgetSignals = {"budget approved for June"},
                      .objections = {"security review"},
                      .nextActions = {"Send the deck."},
                      .unresolvedQuestions = {"価格"},
                      .followUpEmailDraft = "Thanks for the call. I understand the priority around manual reporting. "
                                            "I will address security review. Send the deck."}));
}

TEST(SalesSummaryBuilder, FindsThePains) {
    const auto pains = [](const std::string& text) { return ofCustomer(text).customerPains; };
    EXPECT_THAT(pains("The current issue is ."), ElementsAre("current issue"));
    EXPECT_THAT(pains("A PROBLEM. Painful! The current issue stays."), ElementsAre("problem", "pain", "current issue"));
    EXPECT_THAT(pains("Their Issue is İ, 日本語　\n。nothing else. More"), ElementsAre("İ, 日本語　\n。nothing else"));
    EXPECT_THAT(pains("İİ \u212A issue is the export? No"), ElementsAre("the export"));
    EXPECT_THAT(pains("issue is a.\u0301b"), ElementsAre("a.\u0301b")); // no full stop is left under an accent
    EXPECT_THAT(ofMe("The current issue is a problem").customerPains, IsEmpty());
}

TEST(SalesSummaryBuilder, PrefersTheLongestOfTheKeywordsThatBeginTogether) {
    EXPECT_THAT(ofCustomer("Our budget approved for June is fixed.").budgetSignals,
                ElementsAre("budget approved for June"));
    EXPECT_EQ(ofCustomer("The budget is approved, a budget approved well").overview,
              "Customer discussed budget is approved budget, and budget approved budget.");

    constexpr KeywordPattern patterns[] = {{"bcd", "1"}, {"ab", "2"}, {"abc", "3"},
                                           {"de", "4"},  {"é", "E"},  {"e", "É"}};
    EXPECT_THAT(Builder::orderedMatches("xABCDE", patterns), ElementsAre("3", "4"));
    EXPECT_THAT(Builder::orderedMatches("de ÉAB", patterns), ElementsAre("4", "E", "2"));
    EXPECT_THAT(Builder::orderedMatches("👨‍👩‍👧abbcd", patterns), ElementsAre("2", "1"));
}

TEST(SalesSummaryBuilder, DropsAVagueConcernBesideASecurityReview) {
    const SalesSummary summary = ofCustomer("We need a security review. Another concern is price.");
    EXPECT_THAT(summary.objections, ElementsAre("security review"));
    EXPECT_THAT(summary.decisionCriteria, ElementsAre("security approval"));
    EXPECT_THAT(ofCustomer("A concern: the Salesforce Integration").decisionCriteria,
                ElementsAre("concern", "Salesforce integration"));
}

TEST(SalesSummaryBuilder, TakesDecisionsAndQuestionsFromTheRestOfTheSentence) {
    const auto decisions = [](const std::string& text) { return ofCustomer(text).decisions; };
    EXPECT_THAT(decisions("決定事項としてトライアルを開始します。"), ElementsAre("トライアルを開始し"));
    EXPECT_THAT(decisions("決定事項は　値下げですます です。合意したのは「Ａ」です"),
                ElementsAre("値下げですます", "「Ａ」"));
    EXPECT_THAT(decisions("So THE DECISION IS decision is yes"), ElementsAre("decision is yes"));
    EXPECT_THAT(decisions("Decision is go.  I decided to   !. The decision is GO"), ElementsAre("go"));
    EXPECT_THAT(decisions("İİ The deciſion is ﬁne"), ElementsAre("ﬁne")); // a long s is an s in another case
    EXPECT_THAT(decisions("We decided to \xFFgo"), ElementsAre("\uFFFDgo"));
    EXPECT_THAT(ofMe("未解決の問いはいつ始めますか？ The open question is who? question is who").unresolvedQuestions,
                ElementsAre("いつ始めますか", "who"));
}

TEST(SalesSummaryBuilder, TurnsOwnPromisesIntoActions) {
    EXPECT_THAT(Builder::actionSentences("アクションアイテムとして資料を送付"), ElementsAre("資料を送付。"));
    EXPECT_THAT(Builder::actionSentences("Then we will call you!Nothing.I WILL WE WILL  go; we will see"),
                ElementsAre("Then we will call you.", "Go; we will see."));
    EXPECT_THAT(Builder::actionSentences("We will I will go. ßo I will go. I will e\u0301crire"),
                ElementsAre("I will go.", "SSo I will go.", "E\u0301crire."));
    EXPECT_THAT(Builder::actionSentences("I will I will go. I will 送る。i will. I will\u3000go"),
                ElementsAre("I will go.", "送る。"));
    EXPECT_THAT(Builder::actionSentences("アクションアイテムとして。I will アクションアイテムとして do"),
                ElementsAre(".", "Do."));
    EXPECT_THAT(ofCustomer("I will send the deck").nextActions, IsEmpty());
}

TEST(SalesSummaryBuilder, KnowsWhatIsJapanese) {
    for (const char* japanese : {"\u3040", "aー", "\u30FF", "\u4E00", "\u9FFF", "漢"}) {
        EXPECT_TRUE(Builder::containsJapanese(japanese)) << japanese;
    }
    for (const char* other : {"", "a、。", "ｶﾅ", "ＡＢ", "\u3100", "\u3400", "𠮷", "한글", "\xE3\x81"}) {
        EXPECT_FALSE(Builder::containsJapanese(other)) << other;
    }
    EXPECT_EQ(Builder::cleanExtractedItem("\u3000ｶﾅ。！"), "ｶﾅ。！");
    EXPECT_EQ(Builder::cleanExtractedItem(" 。!?値下げ! 。"), "値下げ");
    EXPECT_EQ(Builder::cleanExtractedItem("ですます"), "です");
    EXPECT_EQ(Builder::cleanExtractedItem("ますです"), "");
}

TEST(SalesSummaryBuilder, KeepsTheFirstOfWhatDiffersInCaseOnly) {
    EXPECT_THAT(Builder::orderedUnique({"Go", "", "GO", "ΟΔΟΣ", "Ｑ", "οδος", "ｑ", "", "go"}),
                ElementsAre("Go", "", "ΟΔΟΣ", "Ｑ"));
}

TEST(SalesSummaryBuilder, DependsOnTheWordsOnlyHoweverTheyAreCut) {
    const std::string fragments[] = {"issue is ",
                                     "Issue Is ",
                                     "current issue",
                                     "Problem",
                                     "budget approved",
                                     " for june",
                                     "manual ",
                                     "reporting",
                                     "we decided to ",
                                     "I WILL ",
                                     "アクションアイテムとして",
                                     "決定事項は",
                                     "です",
                                     "question is ",
                                     ".",
                                     "!",
                                     "。",
                                     " ",
                                     "\r\n",
                                     "\u0301",
                                     "\u3099",
                                     "\u200D",
                                     "👨‍👩‍👧",
                                     "🇯",
                                     "İ",
                                     "\u212A",
                                     "ſ",
                                     "ｶﾞ",
                                     "値",
                                     "\xFF",
                                     "\xE3\x81"};
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::map<AudioChannel, std::string> words;
        TranscriptDocument document;
        for (int count = 0; count < 6; ++count) {
            const auto channel = random() % 2 == 0 ? AudioChannel::mic : AudioChannel::speaker;
            std::string text;
            for (auto left = random() % 7; left > 0; --left) {
                text += fragments[random() % std::size(fragments)];
            }
            words[channel] += (words.contains(channel) ? " " : "") + text::validated(text);
            document.segments.push_back(said(channel, text));
        }
        EXPECT_EQ(Builder().build(document),
                  Builder().build({{said(AudioChannel::mic, words[AudioChannel::mic]),
                                    said(AudioChannel::speaker, words[AudioChannel::speaker])}}));
    }
}

} // namespace
} // namespace talkledger
