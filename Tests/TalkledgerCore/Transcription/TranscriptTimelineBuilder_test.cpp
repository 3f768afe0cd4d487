#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <gmock/gmock.h>

#include <limits>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

TranscriptSegment mic(double start, double end, std::string text,
                      TranscriptSegmentStatus status = TranscriptSegmentStatus::final) {
    return {AudioChannel::mic, SpeakerRole::me, start, end - start, std::move(text), status};
}

TranscriptSegment speaker(double start, double end, std::string text) {
    TranscriptSegment segment = mic(start, end, std::move(text));
    return {AudioChannel::speaker, SpeakerRole::customer, start, end - start, std::move(segment.text), segment.status};
}

std::vector<std::string> linesOf(std::vector<TranscriptSegment> segments) {
    std::vector<std::string> lines;
    for (const auto& line : TranscriptTimelineBuilder().buildLines({std::move(segments)})) {
        EXPECT_EQ(line.id, lines.size());
        lines.push_back(std::string(rawValue(line.channel)) + " " + line.timecode + " " + line.text);
    }
    return lines;
}

std::string joined(const std::string& first, const std::string& second) {
    const auto lines = TranscriptTimelineBuilder().buildLines({{mic(0, 1, first), mic(1, 2, second)}});
    return lines.size() == 1 ? lines.front().text : "";
}

std::string timecode(double seconds) {
    return TranscriptTimelineBuilder().buildLines({{mic(seconds, seconds, "a")}}).at(0).timecode;
}

TEST(TranscriptTimelineBuilder, MergesOnlyWhatFollowsClosely) {
    EXPECT_THAT(linesOf({mic(0, 2, "a"), mic(5.5, 7, "b")}), ElementsAre("mic 00:00 a b"));
    EXPECT_THAT(linesOf({mic(0, 2, "a"), mic(6, 7, "b")}), ElementsAre("mic 00:00 a b"));
    EXPECT_THAT(linesOf({mic(0, 2, "a"), mic(6.5, 7, "b")}), ElementsAre("mic 00:00 a", "mic 00:06 b"));
    EXPECT_THAT(linesOf({mic(0, 9, "a"), mic(1, 2, "b"), mic(12, 13, "c")}), ElementsAre("mic 00:00 a b c"));
}

TEST(TranscriptTimelineBuilder, EndsALineAfterItsLongestSpan) {
    EXPECT_THAT(linesOf({mic(0, 20, "a"), mic(21, 45, "b"), mic(45, 46, "c")}),
                ElementsAre("mic 00:00 a b", "mic 00:45 c"));
    EXPECT_THAT(linesOf({mic(0, 20, "a"), mic(21, 45.1, "b")}), ElementsAre("mic 00:00 a", "mic 00:21 b"));
}

TEST(TranscriptTimelineBuilder, CountsTheLengthOfALineInCharacters) {
    std::string letters;
    for (int index = 0; index < 359; ++index) {
        letters += "👨‍👩‍👧";
    }
    EXPECT_EQ(linesOf({mic(0, 1, letters), mic(1, 2, "é")}).size(), 1U);
    EXPECT_EQ(linesOf({mic(0, 1, letters), mic(1, 2, "éa")}).size(), 2U);
    EXPECT_EQ(linesOf({mic(0, 1, letters), mic(1, 2, "é"), mic(2, 3, "a")}).size(), 2U); // the blank counts by then
    EXPECT_EQ(linesOf({mic(0, 1, letters + "か"), mic(1, 2, "\u3099")}).size(), 2U);     // one in all, but two to count
}

TEST(TranscriptTimelineBuilder, KeepsSpeakersApartInOrderOfTime) {
    EXPECT_THAT(linesOf({speaker(4, 5, "c"), mic(2, 3, "b"), speaker(0, 1, "a")}),
                ElementsAre("speaker 00:00 a", "mic 00:02 b", "speaker 00:04 c"));
    EXPECT_THAT(linesOf({speaker(1, 1, "b"), mic(1, 1, "a"), speaker(1, 1, "c")}),
                ElementsAre("mic 00:01 a", "speaker 00:01 b c"));
    EXPECT_THAT(linesOf({mic(0, 1, "a"), speaker(0.5, 1, "\u3000\n"), mic(1, 2, "b")}), ElementsAre("mic 00:00 a b"));
    EXPECT_THAT(linesOf({mic(0, 1, " "), speaker(0, 1, "")}), ::testing::IsEmpty());
}

TEST(TranscriptTimelineBuilder, TakesTheStatusOfTheLastSegment) {
    const auto lines =
        TranscriptTimelineBuilder().buildLines({{mic(0, 1, "a"), mic(1, 2, "b", TranscriptSegmentStatus::partial)}});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].status, TranscriptSegmentStatus::partial);
}

TEST(TranscriptTimelineBuilder, PutsABlankOnlyBetweenWordsThatNeedOne) {
    EXPECT_EQ(joined("hello", "world"), "hello world");
    EXPECT_EQ(joined("hello ", " world"), "hello world");
    EXPECT_EQ(joined("予算は", "百万円"), "予算は百万円");
    EXPECT_EQ(joined("ok", "はい"), "okはい");
    EXPECT_EQ(joined("ﾃｽﾄ", "ok"), "ﾃｽﾄok");
    EXPECT_EQ(joined("終わり。", "Next"), "終わり。 Next"); // the full stop is no letter of these scripts
    EXPECT_EQ(joined("안녕", "세계"), "안녕 세계");
}

TEST(TranscriptTimelineBuilder, FormatsTimes) {
    EXPECT_EQ(timecode(75.9), "01:15");
    EXPECT_EQ(timecode(3599.9), "59:59");
    EXPECT_EQ(timecode(3725), "01:02:05");
    EXPECT_EQ(timecode(360000), "100:00:00");
    EXPECT_EQ(timecode(-0.5), "00:00");
    EXPECT_EQ(timecode(unknown), "00:00");
    EXPECT_EQ(timecode(-endless), "00:00");
    EXPECT_FALSE(timecode(1e300).empty());
}

TEST(TranscriptTimelineBuilder, ReadsUnknownTimesAsNothing) {
    EXPECT_THAT(linesOf({mic(unknown, 0, "z"), mic(100, unknown, "a"), mic(103, 104, "b")}),
                ElementsAre("mic 01:40 a b z"));
    EXPECT_THAT(linesOf({mic(10, endless, "a"), mic(14.5, 15, "b")}), ElementsAre("mic 00:10 a", "mic 00:14 b"));
    EXPECT_THAT(linesOf({mic(10, 5, "a"), mic(13, 13, "b")}), ElementsAre("mic 00:10 a b"));
}

TEST(TranscriptTimelineBuilder, TellsWhenItsLinesWereSaid) {
    const TranscriptDocument document{
        {TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 20, 2, "later",
                           TranscriptSegmentStatus::final),
         TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 1, 2, "one", TranscriptSegmentStatus::final),
         TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 4, 2.5, "line", TranscriptSegmentStatus::final),
         TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 7, 1, " ", TranscriptSegmentStatus::final)}};
    EXPECT_EQ(TranscriptTimelineBuilder().buildSpans(document),
              (std::vector<TranscriptLineSpan>{{.begin = 1, .end = 6.5}, {.begin = 20, .end = 22}}));
}

} // namespace
} // namespace talkledger
