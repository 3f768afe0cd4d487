#include "TalkledgerWorkers/Transcriber/ComputeGate.h"
#include "TalkledgerWorkers/Transcriber/HypothesisAgreement.h"
#include "TalkledgerWorkers/Transcriber/InventionFilter.h"
#include "TalkledgerWorkers/Transcriber/SpeechWindow.h"
#include "TalkledgerWorkers/Transcriber/UtteranceRecogniser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

TEST(SpokenLanguage, IsTheOneAskedForUnlessAnotherIsBeyondDoubt) {
    const std::pair<std::vector<float>, std::size_t> cases[] = {
        {{0.5F}, 0},
        {{0.05F, 0.9F}, 1},
        {{0.09F, 0.8F, 0.1F}, 1},
        {{0.05F, 0.1F, 0.85F}, 2},
        {{0.15F, 0.82F}, 0},       // the one asked for is possible
        {{0.01F, 0.5F, 0.49F}, 0}, // it is not, and which other one is open
    };
    for (const auto& [probabilities, spoken] : cases) {
        EXPECT_EQ(spokenLanguage(probabilities), spoken) << ::testing::PrintToString(probabilities);
    }
}

TEST(HypothesisAgreement, ShowsWhatTwoAgreeOnAndTakesNothingBack) {
    HypothesisAgreement agreement;
    EXPECT_EQ(agreement.agree(" we have"), "");
    EXPECT_EQ(agreement.agree(" we have a bud"), "we have");
    EXPECT_EQ(agreement.agree(" we have a budget"), "we have a");
    EXPECT_EQ(agreement.agree(" he has a budget"), "we have a");
    agreement.reset();
    EXPECT_EQ(agreement.agree("予算は二"), "");
    EXPECT_EQ(agreement.agree("予算は三千"), "予算は");
}

TEST(InventionFilter, CatchesByTheEvidence) {
    const auto passage = [](const std::string& text, double noSpeech, double logProbability) {
        return WhisperPassage{.words = {{.text = text, .start = 0, .end = 1}},
                              .noSpeechProbability = noSpeech,
                              .meanLogProbability = logProbability};
    };
    InventionFilter filter;
    const std::vector<WhisperPassage> kept = filter.believable({
        passage("sure", 0.1, -0.3),
        passage("quiet, but sure", 0.9, -0.2),
        passage("no, no, no, no", 0.1, -0.2),
        passage("ご視聴ありがとうございました", 0.9, -0.6),
        passage("hardly believed", 0.1, -1.2),
        passage("thank you. thank you. thank you. thank you. thank you. thank", 0.1, -0.1),
        {},
    });
    std::vector<std::string> texts;
    texts.reserve(kept.size());
    for (const WhisperPassage& believed : kept) {
        texts.push_back(believed.text());
    }
    EXPECT_THAT(texts, ElementsAre("sure", "quiet, but sure", "no, no, no, no"));
    EXPECT_EQ(filter.caught(), (CaughtInventions{.withoutVoice = 0, .withoutSpeech = 1, .unlikely = 1, .repeated = 1}));
}

TEST(SpeechWindow, PutsWordsBackWhereTheyWereSaid) {
    constexpr std::int64_t rate = SpeechEngine::sampleRate;
    SpeechWindow window;
    window.append({.start = 10 * rate, .samples = std::vector<float>(2 * rate), .spoken = rate});
    const Utterance later{.start = 3600 * rate, .samples = std::vector<float>(4 * rate), .spoken = rate};
    EXPECT_TRUE(window.hasRoomFor(later));
    window.append(later);
    EXPECT_FALSE(window.hasRoomFor({.start = 0, .samples = std::vector<float>(28 * rate), .spoken = 1}));
    // The second one begins at 2.2; its last word overruns the sound.
    const auto segments = window.segments({{.words = {{" one", 0.5, 1}, {" two", 1, 2.1}, {" three", 2.5, 3}}},
                                           {.words = {{" four", 3, 3.5}, {" five", 1, 1.2}, {" six", 6, 9}}},
                                           {.words = {{" ", 6, 6}}}});
    ASSERT_THAT(segments, ::testing::SizeIs(3));
    EXPECT_EQ(segments[0].text, "one two");
    EXPECT_DOUBLE_EQ(segments[0].start, 10.5);
    EXPECT_DOUBLE_EQ(segments[0].duration, 1.5);
    EXPECT_EQ(segments[1].text, "three");
    EXPECT_NEAR(segments[1].start, 3600.3, 1e-9);
    EXPECT_EQ(segments[2].text, "four five six");
    EXPECT_NEAR(segments[2].start + segments[2].duration, 3604, 1e-9);
}

TEST(ComputeGate, LetsHypothesesInOnlyWhenNothingElseIsToDo) {
    ComputeGate gate(4, 2);
    const std::stop_token never;
    auto hypothesis = gate.tryHypothesis();
    ASSERT_TRUE(hypothesis);
    EXPECT_EQ(hypothesis->threads(), 2);
    EXPECT_FALSE(gate.tryHypothesis());
    EXPECT_FALSE(hypothesis->shouldGiveWay());
    auto first = gate.enter(ComputeUrgency::liveFinal, never);
    EXPECT_TRUE(hypothesis->shouldGiveWay());
    hypothesis.reset();
    EXPECT_FALSE(gate.tryHypothesis());
    const auto second = gate.enter(ComputeUrgency::file, never);
    EXPECT_EQ(second->threads(), 2);

    auto third = std::async(std::launch::async, [&] { return gate.enter(ComputeUrgency::file, never).has_value(); });
    std::stop_source given;
    auto givenUp = std::async(std::launch::async,
                              [&] { return gate.enter(ComputeUrgency::liveFinal, given.get_token()).has_value(); });
    given.request_stop();
    EXPECT_FALSE(givenUp.get());
    first.reset();
    EXPECT_TRUE(third.get());
}

} // namespace
} // namespace talkledger
