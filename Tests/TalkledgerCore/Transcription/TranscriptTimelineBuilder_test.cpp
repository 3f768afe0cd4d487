#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <gmock/gmock.h>

#include <limits>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

TranscriptSegment mic(double start, double end, std::string text) {
    return {AudioChannel::mic, SpeakerRole::me, start, end - start, std::move(text), TranscriptSegmentStatus::final};
}

std::vector<std::string> linesOf(std::vector<TranscriptSegment> segments) {
    std::vector<std::string> lines;
    for (const auto& line : TranscriptTimelineBuilder().buildLines({std::move(segments)})) {
        lines.push_back(line.timecode + " " + line.text);
    }
    return lines;
}

TEST(TranscriptTimelineBuilder, KeepsSpeakersApartInOrderOfTime) {
    using enum TranscriptSegmentStatus;
    const TranscriptSegment theirs(AudioChannel::speaker, SpeakerRole::customer, 1, 0, "b", final);
    const TranscriptSegment hypothesis(AudioChannel::mic, SpeakerRole::me, 2, 0, "d", partial);
    TranscriptSegment another = mic(3, 3, "e");
    another.role = SpeakerRole::customer;
    const auto lines =
        TranscriptTimelineBuilder().buildLines({{another, hypothesis, theirs, mic(1.5, 1.5, "c"), mic(1, 1, "a")}});
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], (TranscriptTimelineLine{0, AudioChannel::mic, SpeakerRole::me, final, "00:01", "a"}));
    EXPECT_EQ(lines[1], (TranscriptTimelineLine{1, theirs.channel, theirs.role, final, "00:01", "b"}));
    EXPECT_EQ(lines[2], (TranscriptTimelineLine{2, AudioChannel::mic, SpeakerRole::me, partial, "00:01", "c d"}));
    EXPECT_THAT(linesOf({mic(0, 1, "a"), mic(0.5, 1, "\u3000\n"), mic(1, 2, "b")}), ElementsAre("00:00 a b"));
}

TEST(TranscriptTimelineBuilder, EndsALineAfterALongPauseALongSpanOrManyCharacters) {
    EXPECT_THAT(linesOf({mic(0, 2, "a"), mic(6, 7, "b"), mic(11.5, 12, "c")}), ElementsAre("00:00 a b", "00:11 c"));
    EXPECT_THAT(linesOf({mic(0, 9, "a"), mic(1, 2, "b"), mic(12, 13, "c")}), ElementsAre("00:00 a b c"));
    EXPECT_THAT(linesOf({mic(0, 20, "a"), mic(21, 45, "b"), mic(45, 45.1, "c")}), ElementsAre("00:00 a b", "00:45 c"));
    std::string letters;
    for (int index = 0; index < 359; ++index) {
        letters += "👨‍👩‍👧";
    }
    EXPECT_EQ(linesOf({mic(0, 1, letters), mic(1, 2, "é")}).size(), 1U);
    EXPECT_EQ(linesOf({mic(0, 1, letters), mic(1, 2, "é"), mic(2, 3, "a")}).size(), 2U); // the blank counts by then
    EXPECT_EQ(linesOf({mic(0, 1, letters + "か"), mic(1, 2, "\u3099")}).size(), 2U);     // one in all, but two to count
}

TEST(TranscriptTimelineBuilder, PutsABlankOnlyBetweenWordsThatNeedOne) {
    for (const auto& [first, second, joined] : {std::array{"hello", "world", "hello world"},
                                                {"予算は", "百万円", "予算は百万円"},
                                                {"ok", "はい", "okはい"},
                                                {"ﾃｽﾄ", "ok", "ﾃｽﾄok"},
                                                {"終わり。", "Next", "終わり。 Next"},
                                                {"👍", "Ａ", "👍 Ａ"},
                                                {"안녕", "세계", "안녕 세계"}}) {
        EXPECT_THAT(linesOf({mic(0, 1, first), mic(1, 2, second)}), ElementsAre(std::string("00:00 ") + joined));
    }
    for (const std::string letter : {"\u3040", "\u30FF", "\u3400", "\u9FFF", "\uF900", "\uFAFF", "\uFF66", "\uFF9D"}) {
        EXPECT_THAT(linesOf({mic(0, 1, letter), mic(1, 2, "a")}), ElementsAre("00:00 " + letter + "a"));
    }
}

TEST(TranscriptTimelineBuilder, ReadsTimesOfAnyKind) {
    for (const auto& [seconds, timecode] : {std::pair(75.9, "01:15"),
                                            {3599.9, "59:59"},
                                            {60.0, "01:00"},
                                            {3600.0, "01:00:00"},
                                            {3660.0, "01:01:00"},
                                            {3725.0, "01:02:05"},
                                            {360000.0, "100:00:00"},
                                            {-3.0, "00:00"},
                                            {unknown, "00:00"},
                                            {-endless, "00:00"},
                                            {1e300, "2500000000000000:00:00"}}) {
        EXPECT_THAT(linesOf({mic(seconds, seconds, "a")}), ElementsAre(std::string(timecode) + " a"));
    }
    EXPECT_THAT(linesOf({mic(unknown, 0, "z"), mic(100, unknown, "a"), mic(103, 104, "b")}),
                ElementsAre("01:40 a b z"));
    EXPECT_THAT(linesOf({mic(10, endless, "a"), mic(14.5, 15, "b")}), ElementsAre("00:10 a", "00:14 b"));
    EXPECT_THAT(linesOf({mic(10, 5, "a"), mic(13, 13, "b")}), ElementsAre("00:10 a b"));
}

TEST(TranscriptTimelineBuilder, TellsWhenItsLinesWereSaid) {
    TranscriptSegment theirs = mic(20, 22, "later");
    theirs.channel = AudioChannel::speaker;
    EXPECT_EQ(TranscriptTimelineBuilder().buildSpans({{theirs, mic(1, 3, "one"), mic(4, 6.5, "line"), mic(7, 8, " ")}}),
              (std::vector<TranscriptLineSpan>{{.begin = 1, .end = 6.5}, {.begin = 20, .end = 22}}));
}

} // namespace
} // namespace talkledger
