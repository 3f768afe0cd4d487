#include "TalkledgerCore/Support/Text.h"

#include <gmock/gmock.h>

#include <random>
#include <thread>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

TEST(Text, SplitsIntoWhatAReaderTakesForCharacters) {
    EXPECT_THAT(text::characters("e\u0301\r\nが👨‍👩‍👧🇯🇵🇫🇷"),
                ElementsAre("e\u0301", "\r\n", "が", "👨‍👩‍👧", "🇯🇵", "🇫🇷"));
    EXPECT_THAT(text::characters("か\u3099ｶﾞ각"), ElementsAre("か\u3099", "ｶﾞ", "각"));
    EXPECT_EQ(text::characterCount("👍🏽é한글"), 4U);
}

TEST(Text, FindsTheSameCharactersFromBothEnds) {
    const std::vector<std::string> fragments{"a",          ".",      "\r",     "\n",         "カ",         "漢",
                                             "。",         "\uFF9E", "\uFF21", "\U0001F1EF", "\U0001F468", "\U0001F44D",
                                             "\U0001F3FD", "©",      "é",      "\u0301",     "\u3099",     "\u200D",
                                             "\uFE0F",     "\u0600", "\u1100", "\u1161",     "\u0915",     "\u094D",
                                             "\u3030",     "\u00AD", "\xE3",   "\x80"};
    std::mt19937 random(3);
    for (int round = 0; round < 1000; ++round) {
        std::string text;
        for (auto count = random() % 12; count > 0; --count) {
            text += fragments[random() % fragments.size()];
        }
        const std::vector<std::string> characters = text::characters(text);
        std::string last;
        for (std::size_t count = 0; count <= characters.size(); ++count) {
            EXPECT_EQ(text::suffix(text, count), last) << text;
            EXPECT_EQ(text::withoutPrefix(text, characters.size() - count), last) << text;
            EXPECT_EQ(text::prefix(text, characters.size() - count) + last, text::validated(text));
            if (count < characters.size()) {
                last.insert(0, characters[characters.size() - 1 - count]);
            }
        }
        EXPECT_EQ(text::suffix(text, 99), text::validated(text));
        EXPECT_EQ(text::prefix(text, 99), text::validated(text));
        EXPECT_EQ(text::withoutPrefix(text, 99), "");
        text::CharacterOffsets offsets(text::validated(text));
        EXPECT_EQ(offsets.ofByte(0), 0U);
        EXPECT_EQ(offsets.ofByte(text::validated(text).size()), characters.size());
    }
}

TEST(Text, SeparatesAtWholeCharacters) {
    EXPECT_THAT(text::split("。.a.\u0301b。。c!", ".。!"), ElementsAre("a.\u0301b", "c"));
    EXPECT_THAT(text::split("", "."), ElementsAre());
    EXPECT_EQ(text::trimmed("。.\u0301a。 b。.", "。."), ".\u0301a。 b");
    EXPECT_EQ(text::trimmed("。。", "。"), "");
    EXPECT_EQ(text::prefixBefore("a!\uFE0Fb!c", "!?"), "a!\uFE0Fb");
    EXPECT_EQ(text::prefixBefore("ab", "!"), "ab");
    text::CharacterOffsets offsets("e\u0301が.");
    EXPECT_EQ(offsets.ofByte(1), 0U); // within the first character
    EXPECT_EQ(offsets.ofByte(3), 1U);
    EXPECT_EQ(offsets.ofByte(6), 2U);
}

TEST(Text, TrimsEveryKindOfWhiteSpaceAtBothEndsOnly) {
    EXPECT_EQ(text::trimmed("\u3000\t\r\n\v\f\u0085\u00A0\u2028\u2029 商談 メモ \u205F\u3000"), "商談 メモ");
    EXPECT_EQ(text::trimmed(" \u2003\n"), "");
    EXPECT_EQ(text::trimmed("\u200B"), "\u200B"); // no white space, for all its name
}

TEST(Text, ChangesCaseAsUnicodeDoesInNoLanguage) {
    EXPECT_EQ(text::lowercased("ÄÖÜ ΑΣ ΑΣΑ Ｑ３ İI 予算 \u212A"), "äöü ας ασα ｑ３ i\u0307i 予算 k");
    EXPECT_EQ(text::uppercased("straße ﬁ ǆ ŉ \xFFк"), "STRASSE FI Ǆ ʼN \uFFFDК");
}

TEST(Text, FindsWhateverTheCase) {
    const text::CaselessText text("İ ẞ \u212A QUEſTION ﬁne \xFFé");
    EXPECT_EQ(text.textAfter("question "), "ﬁne \uFFFDé");
    EXPECT_EQ(text.textAfter("ss k "), "QUEſTION ﬁne \uFFFDé");
    EXPECT_EQ(text.textAfter("fi"), "ne \uFFFDé");
    EXPECT_EQ(text.textAfter("answer"), std::nullopt);

    EXPECT_TRUE(text::containsIgnoringCase("a SECURITY Review", "security review", "en_US"));
    EXPECT_TRUE(text::containsIgnoringCase("a security review", "SECURITY REVIEW", "ja"));
    EXPECT_FALSE(text::containsIgnoringCase("a SECURITY Review", "security review", "tr_TR"));
    EXPECT_TRUE(text::containsIgnoringCase("a SECURİTY Review", "security review", "az"));
    EXPECT_FALSE(text::containsIgnoringCase("securité", "security"));
}

TEST(Text, TellsClassesByGeneralCategory) {
    for (const char32_t scalar : U"!。、「」・（－_％…") {
        EXPECT_TRUE(scalar == U'\0' || text::isPunctuation(scalar)) << static_cast<unsigned>(scalar);
    }
    for (const char32_t scalar : U"$+<=>^`|~￥＋√→🎉©") {
        EXPECT_TRUE(scalar == U'\0' || text::isSymbol(scalar)) << static_cast<unsigned>(scalar);
    }
    for (const char32_t scalar : U"aé語ーｶ3\u0301") {
        EXPECT_FALSE(text::isPunctuation(scalar) || text::isSymbol(scalar) || text::isWhitespaceOrNewline(scalar));
    }
    EXPECT_TRUE(text::isControl(U'\x1F') && text::isControl(U'\x7F') && text::isControl(U'\x85'));
    EXPECT_FALSE(text::isControl(U'\u200D')); // a format character, part of emoji
}

TEST(Text, ReplacesInvalidBytes) {
    EXPECT_EQ(text::validated("\xE6\x97"), "\uFFFD");                  // cut off
    EXPECT_EQ(text::validated("\xED\xA0\x80").substr(0, 3), "\uFFFD"); // a surrogate
    EXPECT_EQ(text::fromScalars(U"\x110000"), "\uFFFD");
    EXPECT_EQ(text::lowercased("A\xC0Z"), "a\uFFFDz");
}

TEST(Text, TakesAnyBytesWithoutLosingOrTearingAny) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 500; ++round) {
        std::string bytes(static_cast<std::size_t>(byte(random)), '\0');
        for (char& each : bytes) {
            each = static_cast<char>(byte(random) < 64 ? 0xE3 : byte(random));
        }
        const std::string valid = text::validated(bytes);
        std::string joined;
        for (const std::string& character : text::characters(bytes)) {
            EXPECT_EQ(text::characterCount(character), 1U);
            joined += character;
        }
        EXPECT_EQ(joined, valid);
        EXPECT_EQ(text::fromScalars(text::scalars(bytes)), valid);
        EXPECT_EQ(text::validated(text::lowercased(bytes)), text::lowercased(valid));
        EXPECT_NE(valid.find(text::trimmed(bytes)), std::string::npos);
    }
}

TEST(Text, SplitsOnSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::vector<std::size_t> counts(4);
    threads.reserve(counts.size());
    for (std::size_t& count : counts) {
        threads.emplace_back([&count] {
            for (int round = 0; round < 200; ++round) {
                count += text::characterCount("日本語👨‍👩‍👧é");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(counts, ::testing::Each(1000U));
}

} // namespace
} // namespace talkledger
