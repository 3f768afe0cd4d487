#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"
#include "TalkledgerCore/Support/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
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
    const SalesSummary expected{.overview = "Customer discussion captured for review.",
                                .decisions = {},
                                .customerPains = {},
                                .decisionCriteria = {},
                                .budgetSignals = {},
                                .objections = {},
                                .nextActions = {},
                                .unresolvedQuestions = {},
                                .followUpEmailDraft = "Thanks for the call."};
    EXPECT_EQ(Builder().build({}), expected);
    EXPECT_EQ(ofCustomer(" \u3000。!? \r\n"), expected);
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
    EXPECT_THAT(pains("The current issue is manual reporting."), ElementsAre("manual reporting"));
    EXPECT_THAT(pains("The current issue is slow exports!"), ElementsAre("slow exports"));
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
    EXPECT_EQ(ofCustomer("Our budget approved for June is fixed.").overview, "Customer discussed June budget.");
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
    EXPECT_THAT(summary.followUpEmailDraft, HasSubstr("I will address security review."));
    EXPECT_THAT(ofCustomer("A concern: the Salesforce Integration").decisionCriteria,
                ElementsAre("concern", "Salesforce integration"));
}

TEST(SalesSummaryBuilder, TakesDecisionsAndQuestionsFromTheRestOfTheSentence) {
    const auto decisions = [](const std::string& text) { return ofCustomer(text).decisions; };
    EXPECT_THAT(decisions("We decided to start in April."), ElementsAre("start in April"));
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
    EXPECT_THAT(Builder::actionSentences("i will send the deck tomorrow"), ElementsAre("Send the deck tomorrow."));
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

/// The operations in their plain form: sentences by lists of characters, places by scalars, which for these keywords
/// order and overlap as the characters do.
namespace reference {

bool isOneOf(const std::string& character, const std::vector<std::string>& set) {
    return std::find(set.begin(), set.end(), character) != set.end();
}

std::vector<std::string> splitSentences(const std::string& text) {
    std::vector<std::string> pieces(1);
    for (const std::string& character : text::characters(text)) {
        if (isOneOf(character, {".", "!", "?", "。", "！", "？"})) {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    std::vector<std::string> sentences;
    for (const std::string& piece : pieces) {
        if (!text::trimmed(piece).empty()) {
            sentences.push_back(text::trimmed(piece));
        }
    }
    return sentences;
}

std::vector<std::string> orderedMatches(const std::string& text, const std::vector<KeywordPattern>& patterns) {
    const std::u32string lowered = text::scalars(text::lowercased(text));
    std::vector<std::string> values;
    std::size_t taken = 0;
    for (std::size_t start = 0; start < lowered.size(); ++start) {
        std::string_view longest;
        std::string_view value;
        for (const KeywordPattern& pattern : patterns) {
            if (lowered.find(text::scalars(pattern.needle)) == start && pattern.needle.size() > longest.size()) {
                longest = pattern.needle;
                value = pattern.value;
            }
        }
        if (!longest.empty() && start >= taken) {
            taken = start + longest.size();
            values.emplace_back(value);
        }
    }
    return Builder::orderedUnique(values);
}

std::vector<std::string> painsFallback(const std::string& text) {
    const std::u32string introduction = U"issue is ";
    const std::size_t found = text::scalars(text::lowercased(text)).find(introduction);
    if (found == std::u32string::npos) {
        return {};
    }
    std::u32string before;
    std::u32string after = text::scalars(text);
    while (text::scalars(text::lowercased(text::fromScalars(before))).size() < found + introduction.size()) {
        before += after.front();
        after.erase(0, 1);
    }
    std::string issue;
    for (const std::string& character : text::characters(text::fromScalars(after))) {
        if (isOneOf(character, {".", "!", "?"})) {
            break;
        }
        issue += character;
    }
    issue = text::trimmed(issue);
    return issue.empty() ? std::vector<std::string>() : std::vector{issue};
}

} // namespace reference

/// Speech made of what the tables look for, and of what is hard about Unicode.
class RandomSpeech {
public:
    RandomSpeech() {
        std::istringstream list(
            "issue is |Issue Is |current issue|Problem|pain|budget approved| for june|manual |reporting|"
            "budget is approved|we decided to |I WILL |we will "
            "|アクションアイテムとして|決定事項は|確認事項は|です|ます|"
            "question is |.|!|?|。|！|？| "
            "|\u3000|\r\n|\n|\u2028|\u0301|\u3099|\uFE0F|\u200D|👨‍👩‍👧|🇯🇵|🇯|İ|"
            "\u212A|ẞ|ſ|Σ|ｶﾞ|Ａ|각|e|値|\xFF|\xE3\x81|\u0600");
        for (std::string fragment; std::getline(list, fragment, '|');) {
            fragments_.push_back(fragment);
        }
    }

    std::string operator()(std::size_t fragmentCount) {
        std::string text;
        for (std::size_t count = random_() % (fragmentCount + 1); count > 0; --count) {
            text += fragments_[random_() % fragments_.size()];
        }
        return text;
    }

    std::mt19937& random() { return random_; }

private:
    std::vector<std::string> fragments_;
    std::mt19937 random_{11};
};

TEST(SalesSummaryBuilder, AgreesWithThePlainOperations) {
    const std::vector<KeywordPattern> patterns{{"current issue", "1"},
                                               {"issue is ", "2"},
                                               {"problem", "3"},
                                               {"pain", "4"},
                                               {"is", "5"},
                                               {"budget approved for june", "6"},
                                               {"budget approved", "7"},
                                               {"ed f", "8"},
                                               {"reporting", "1"}};
    RandomSpeech speech;
    for (int round = 0; round < 2000; ++round) {
        const std::string text = speech(16);
        EXPECT_EQ(Builder::splitSentences(text), reference::splitSentences(text)) << text;
        EXPECT_EQ(Builder::orderedMatches(text, patterns), reference::orderedMatches(text, patterns)) << text;
        EXPECT_EQ(Builder::painsFallback(text), reference::painsFallback(text)) << text;
    }
}

TEST(SalesSummaryBuilder, DependsOnTheWordsOnly) {
    RandomSpeech speech;
    for (int round = 0; round < 300; ++round) {
        std::string words[2];
        TranscriptDocument document;
        for (int count = 0; count < 6; ++count) {
            const auto channel = speech.random()() % 2 == 0 ? AudioChannel::mic : AudioChannel::speaker;
            const std::string text = speech(6);
            std::string& spoken = words[channel == AudioChannel::mic ? 0 : 1];
            const bool isFirst = std::none_of(document.segments.begin(), document.segments.end(),
                                              [&](const auto& segment) { return segment.channel == channel; });
            spoken += (isFirst ? "" : " ") + text::validated(text);
            document.segments.push_back(said(channel, text));
        }
        const SalesSummary summary = Builder().build(document);
        EXPECT_EQ(summary,
                  Builder().build({{said(AudioChannel::mic, words[0]), said(AudioChannel::speaker, words[1])}}));
        EXPECT_EQ(summary.overview, text::validated(summary.overview));
        EXPECT_EQ(summary.followUpEmailDraft, text::validated(summary.followUpEmailDraft));
    }
}

} // namespace
} // namespace talkledger
