#include "Reference/PlainConversation.h"
#include "Reference/RandomConversation.h"
#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/SpokenText.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

TEST(SpokenText, NormalisesAwayWhatSpeechDoesNotTell) {
    EXPECT_EQ(normalizedText("Yes, that's\u3000right!"), "yesthatsright");
    EXPECT_EQ(normalizedText("はい、「予算」は ￥１００万＋税です。"), "はい予算は１００万税です");
    EXPECT_EQ(normalizedText("... 🎉 $+"), "");
    EXPECT_EQ(normalizedText("が\u3099 ｶﾞ É"), "が\u3099ｶﾞé");
    EXPECT_EQ(normalizedText("ΟΔΟΣ, ΣΑΣ\xFF İ"), "οδοςσαςi\u0307");
}

TEST(SpokenText, NormalisesAsThePlainRuleDoes) {
    reference::RandomConversation random(3);
    for (int round = 0; round < 5000; ++round) {
        const std::string text = random.text(40);
        ASSERT_EQ(normalizedText(text), reference::normalizedText(text)) << text;
    }
    for (char32_t scalar = 1; scalar < 0x30000; ++scalar) {
        const std::string text = text::fromScalars(std::u32string{U'a', scalar, U'b'});
        ASSERT_EQ(normalizedText(text), reference::normalizedText(text)) << text;
    }
}

TEST(SpokenText, FindsTheLengthThatThePlainTableFinds) {
    reference::RandomConversation random(5);
    CharacterNumbering numbering;
    for (int round = 0; round < 3000; ++round) {
        const int mostPieces = random.isOneIn(20) ? 400 : 30;
        const std::string first = random.text(mostPieces);
        const std::string second = random.isOneIn(2) ? random.misheard(first) : random.text(mostPieces);
        ASSERT_EQ(longestCommonSubsequenceLength(numbering.numbers(first), numbering.numbers(second)),
                  reference::longestCommonSubsequenceLength(text::characters(first), text::characters(second)))
            << first << "\n"
            << second;
    }
}

} // namespace
} // namespace talkledger
