#include "TalkledgerWorkers/Transcriber/HeardWord.h"
#include "TalkledgerWorkers/Transcriber/PocketSphinxEngine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

HeardWord spoken(std::string text, double confidence) {
    return {
        .text = std::move(text), .start = 1, .end = 1.3, .confidence = confidence, .phones = 3, .voicedSeconds = 0.2};
}

TEST(TrustedWords, KeepDoubtfulWordsOnlyBesideSureOnes) {
    const HeardWord sure = spoken("price", 0.9);
    const HeardWord other = spoken("fine", 0.8);
    const HeardWord doubtful = spoken("is", 0.3);
    const HeardWord wrong = spoken("peas", 0.05);
    EXPECT_THAT(trustedWords({sure, doubtful, wrong, other}), ElementsAre(sure, doubtful, other));
    EXPECT_THAT(trustedWords({doubtful, other, wrong}), IsEmpty());
    EXPECT_THAT(trustedWords({doubtful, spoken("yes", 0.95)}), ElementsAre(spoken("yes", 0.95)));
    EXPECT_THAT(trustedWords({}), IsEmpty());
}

TEST(TrustedWords, NeedAVoiceAndAPossibleLengthWhateverTheEngineBelieves) {
    HeardWord unvoiced = spoken("if", 1);
    unvoiced.voicedSeconds = 0.02;
    HeardWord drawnOut = spoken("wall", 1);
    drawnOut.end = 3;
    EXPECT_THAT(trustedWords({unvoiced, drawnOut}), IsEmpty());
    const HeardWord doubtful = spoken("is", 0.3);
    EXPECT_THAT(trustedWords({unvoiced, doubtful, drawnOut}), IsEmpty()) << "noise must not vouch for words";
}

TEST(SettledWords, AreThoseThatStoodBefore) {
    const HeardWord we = spoken("we", 1);
    const HeardWord have = spoken("have", 1);
    const HeardWord the = spoken("the", 1);
    const HeardWord a = spoken("a", 1);
    EXPECT_THAT(settledWords({we, have, the}, {we, have, a, the}), ElementsAre(we, have));
    EXPECT_THAT(settledWords({we, have}, {}), IsEmpty());
    EXPECT_THAT(settledWords({we, the}, {we, a}), IsEmpty()) << "one word may be anything";
    EXPECT_THAT(settledWords({the, the, the}, {the, the, the}), IsEmpty()) << "so may the same again and again";
    HeardWord unvoiced = have;
    unvoiced.voicedSeconds = 0;
    EXPECT_THAT(settledWords({we, unvoiced, the}, {we, have, the}), ElementsAre(we, the));
}

TEST(WrittenWord, IsThatOfAPronunciationAndNoneForNoises) {
    EXPECT_EQ(writtenWord("with(2)"), "with");
    EXPECT_EQ(writtenWord("i'm"), "I'm");
    EXPECT_EQ(writtenWord("in"), "in");
    for (const char* noise : {"<s>", "</s>", "<sil>", "[NOISE]", "[SPEECH]", "++um++", "(2)", ""}) {
        EXPECT_EQ(writtenWord(noise), std::nullopt) << noise;
    }
}

} // namespace
} // namespace talkledger
