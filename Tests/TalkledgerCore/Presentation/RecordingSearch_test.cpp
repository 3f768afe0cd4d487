#include "TalkledgerCore/Presentation/RecordingSearch.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using enum RecordingSearchSource;

constexpr AppCopy english{DisplayLanguage::english};

Date at(int seconds) {
    return Date(std::chrono::seconds(seconds));
}

RecordingSession recording(const std::string& title) {
    RecordingSession session;
    session.id = randomUuid();
    session.title = title;
    return session;
}

TranscriptSegment said(double start, const std::string& text) {
    return {AudioChannel::mic, SpeakerRole::me, start, 1, text, TranscriptSegmentStatus::final};
}

std::vector<RecordingSearchPlace> placesOf(const std::vector<std::string>& texts) {
    std::vector<RecordingSearchPlace> places;
    for (const std::string& text : texts) {
        places.push_back({.source = transcript, .line = places.size(), .timecode = {}, .text = text});
    }
    return places;
}

/// The texts that are marked in a text for what is typed.
std::vector<std::string> marked(const std::string& text, std::string_view typed) {
    std::vector<std::string> result;
    for (const text::Range& range : text::occurrencesInShown(text, RecordingSearchQuery(typed).words)) {
        result.push_back(text.substr(range.begin, range.end - range.begin));
    }
    return result;
}

TEST(RecordingSearch, FindsWhateverTheCaseAndTheWidth) {
    EXPECT_THAT(marked("The Quote, a QUOTE", "quote"), ElementsAre("Quote", "QUOTE"));
    EXPECT_THAT(marked("ＡＢＣ商事", "abc"), ElementsAre("ＡＢＣ"));
    EXPECT_THAT(marked("ABC商事", "ａｂｃ　商事"), ElementsAre("ABC", "商事"));
    EXPECT_THAT(marked("ﾃﾞｰﾀの件", "データ"), ElementsAre("ﾃﾞｰﾀ"));
    EXPECT_THAT(marked("STRASSE und Straße", "straße"), ElementsAre("STRASSE", "Straße"));
    EXPECT_THAT(marked("300万円", "３００"), ElementsAre("300"));
    EXPECT_THAT(marked("nothing", ""), IsEmpty());
    EXPECT_THAT(marked("nothing", " 　\n"), IsEmpty());
}

TEST(RecordingSearch, MarksWholeCharactersOnly) {
    EXPECT_THAT(marked("が", "か"), IsEmpty());
    EXPECT_THAT(marked("か\u3099とか", "か"), ElementsAre("か"));
    EXPECT_THAT(marked("a👩\u200D💻b", "👩"), ElementsAre("👩\u200D💻"));
    EXPECT_THAT(marked("e\u0301te", "été"), IsEmpty());
    EXPECT_THAT(marked("Ete\u0301", "té"), ElementsAre("te\u0301"));
    EXPECT_THAT(marked("㍿青葉", "株式"), ElementsAre("㍿"));
    EXPECT_THAT(marked("aaaa", "aa a"), ElementsAre("aa", "aa"));
}

TEST(RecordingSearch, LooksIntoWhatTheScreensShow) {
    const TranscriptDocument conversation{{said(3661, "Could we see the quote?")}};
    SalesSummary summary;
    summary.overview = "Customer discussion captured for review.";
    summary.nextActions = {" ", "Send the deck."};
    summary.decisionCriteria = {"never shown"};
    const auto places = searchPlaces(recording("商談 2025-06-02 10:30:00"), conversation, summary, english);
    EXPECT_THAT(places, ElementsAre(RecordingSearchPlace{title, 0, "", "Send the deck."},
                                    RecordingSearchPlace{title, 0, "", "Sales call 2025-06-02 10:30:00"},
                                    RecordingSearchPlace{transcript, 0, "01:01:01", "Could we see the quote?"},
                                    RecordingSearchPlace{RecordingSearchSource::summary, 0, "",
                                                         "Customer discussion captured for review."},
                                    RecordingSearchPlace{RecordingSearchSource::summary, 0, "", "Send the deck."}));
    EXPECT_THAT(searchPlaces(recording("Aoba"), std::nullopt, std::nullopt, english),
                ElementsAre(RecordingSearchPlace{title, 0, "", "Aoba"}));
}

TEST(RecordingSearch, WantsEveryWordSomewhereAndListsTheNewestFirst) {
    const auto early = randomUuid();
    const auto late = randomUuid();
    RecordingSearch search;
    search.set(early, at(1), placesOf({"the quote", "of the year"}));
    search.set(late, at(2), placesOf({"Quote and quote again", "budget"}));
    EXPECT_THAT(search.search(RecordingSearchQuery("quote")), ElementsAre(late, early));
    EXPECT_THAT(search.search(RecordingSearchQuery("year QUOTE")), ElementsAre(early));
    EXPECT_THAT(search.search(RecordingSearchQuery("quote\nof")), ElementsAre(early));
    EXPECT_THAT(search.search(RecordingSearchQuery("quoteof")), IsEmpty());
    EXPECT_THAT(search.search(RecordingSearchQuery("")), IsEmpty());
    EXPECT_EQ(search.hitCount(late, RecordingSearchQuery("quote budget")), 3U);
    search.set(late, at(0), placesOf({"other"}));
    EXPECT_THAT(search.search(RecordingSearchQuery("e")), ElementsAre(early, late));
    EXPECT_THAT(search.search(RecordingSearchQuery("quote")), ElementsAre(early));
    search.remove(early);
    EXPECT_THAT(search.search(RecordingSearchQuery("quote")), IsEmpty());
    EXPECT_EQ(search.hitCount(early, RecordingSearchQuery("quote")), 0U);
}

TEST(RecordingSearch, CutsSnippetsAroundTheFirstHit) {
    const std::string line = "Thank you as well. To get started, did you have a chance to look at the quote we sent?";
    const auto hits = searchHits(placesOf({"no", line, "quote"}), RecordingSearchQuery("quote"), 2);
    ASSERT_EQ(hits.size(), 2U);
    EXPECT_EQ(hits[0].line, 1U);
    EXPECT_EQ(hits[0].snippet, "… to look at the quote we sent?");
    EXPECT_EQ(hits[0].snippet.substr(hits[0].marks[0].begin, 5), "quote");
    EXPECT_EQ(hits[1].snippet, "quote");
    EXPECT_EQ(searchHits(placesOf({line, line}), RecordingSearchQuery("you"), 1).size(), 1U);
    const auto longHits =
        searchHits(placesOf({"見積り" + std::string(400, 'x') + "見積り"}), RecordingSearchQuery("見積り"), 1);
    EXPECT_EQ(longHits[0].marks.size(), 1U);
    EXPECT_LT(longHits[0].snippet.size(), 200U);
}

TEST(RecordingSearch, FindsWhatAPlainScanFinds) {
    std::mt19937 random(11);
    const auto letters = text::characters("かがｶﾞaAée\u0301 　-ー見積");
    const auto randomText = [&](std::size_t length) {
        std::string text;
        for (std::size_t count = 0; count < length; ++count) {
            text += letters[random() % letters.size()];
        }
        return text;
    };
    RecordingSearch search;
    std::vector<std::pair<boost::uuids::uuid, std::string>> texts;
    for (int index = 0; index < 300; ++index) {
        const std::string text = randomText(random() % 40);
        texts.emplace_back(randomUuid(), text::searchable(text));
        search.set(texts.back().first, at(-index), placesOf({text}));
    }
    for (int round = 0; round < 300; ++round) {
        const RecordingSearchQuery query(randomText(1 + random() % 4));
        std::vector<boost::uuids::uuid> expected;
        for (const auto& [id, text] : texts) {
            const bool holdsAll = std::ranges::all_of(
                query.words, [&text = text](const std::string& word) { return text.find(word) != std::string::npos; });
            if (holdsAll && !query.isEmpty()) {
                expected.push_back(id);
            }
        }
        EXPECT_EQ(search.search(query), expected);
    }
}

} // namespace
} // namespace talkledger
