#include "Reference/PlainConversation.h"
#include "Reference/RandomConversation.h"
#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/SpokenText.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

TEST(SpokenText, NormalisesAwayWhatSpeechDoesNotTell) {
    EXPECT_EQ(normalizedText("Yes, that's\u3000right! 🎉 $+"), "yesthatsright");
    EXPECT_EQ(normalizedText("はい、「予算」は ￥１００万＋税です。"), "はい予算は１００万税です");
    EXPECT_EQ(normalizedText("が\u3099 ｶﾞ É ΟΔΟΣ, ΣΑΣ\xFF İ"), "が\u3099ｶﾞéοδοςσαςi\u0307");
}

void expectThePlainReading(SpeechAlphabet& alphabet, const std::string& text) {
    const std::string expected = reference::normalizedText(text);
    ASSERT_EQ(normalizedText(text), expected) << text;
    ASSERT_EQ(text::fromScalars(alphabet.read(text).scalars()), expected) << text;
    ASSERT_EQ(alphabet.read(text).characters().size(), text::characterCount(expected)) << text;
}

TEST(SpokenText, ReadsWhatThePlainRuleLeaves) {
    reference::RandomConversation random(3);
    SpeechAlphabet alphabet;
    for (int round = 0; round < 5000; ++round) {
        expectThePlainReading(alphabet, random.text(round % 4 == 0 ? 40 : 3));
    }
    for (char32_t scalar = 0; scalar < 0x110000; scalar += scalar < 0x20000 ? 1 : 97) {
        expectThePlainReading(alphabet, text::fromScalars(std::u32string{U'a', scalar, scalar, U'B', scalar}));
    }
}

TEST(SpokenText, FindsTheLengthThatThePlainTableFinds) {
    reference::RandomConversation random(5);
    SpeechAlphabet alphabet;
    for (int round = 0; round < 3000; ++round) {
        const int mostPieces = random.isOneIn(20) ? 400 : 30;
        const std::string first = normalizedText(random.text(mostPieces));
        const std::string second = normalizedText(random.isOneIn(2) ? random.misheard(first) : random.text(mostPieces));
        const SpokenText spokenFirst = alphabet.read(first);
        const SpokenText spokenSecond = alphabet.read(second);
        const std::size_t expected =
            reference::longestCommonSubsequenceLength(text::characters(first), text::characters(second));
        ASSERT_EQ(longestCommonSubsequenceLength(spokenFirst.characters(), spokenSecond.characters()), expected)
            << first << "\n"
            << second;
        ASSERT_GE(spokenFirst.mostInCommon(spokenSecond), expected);
    }
}

} // namespace
} // namespace talkledger
