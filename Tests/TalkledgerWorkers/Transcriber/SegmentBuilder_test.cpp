#include "TalkledgerWorkers/Transcriber/SegmentBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

HeardWord word(std::string text, double start, double end) {
    return {.text = std::move(text), .start = start, .end = end};
}

class SegmentBuilderTest : public ::testing::Test {
protected:
    std::vector<SpeechSegment> segments_;
    SegmentBuilder builder_{[this](const SpeechSegment& segment) { segments_.push_back(segment); }};
};

TEST_F(SegmentBuilderTest, EndsASegmentAtAPauseAsSoonAsItIsKnown) {
    builder_.append(word("good", 1, 1.5));
    builder_.append(word("morning", 2, 2.5)); // a gap of 0.5 s is no pause
    builder_.advance(3);
    EXPECT_THAT(segments_, IsEmpty());
    builder_.advance(3.25);
    EXPECT_THAT(segments_, ElementsAre(SpeechSegment{"good morning", 1, 1.5}));
    builder_.append(word("hello", 4, 4.5));
    builder_.append(word("there", 5.5, 6));
    builder_.finish();
    builder_.finish();
    EXPECT_THAT(segments_, ElementsAre(SpeechSegment{"good morning", 1, 1.5}, SpeechSegment{"hello", 4, 0.5},
                                       SpeechSegment{"there", 5.5, 0.5}));
}

TEST_F(SegmentBuilderTest, CutsUnbrokenSpeechAtItsWidestGap) {
    for (int second = 0; second < 30; ++second) {
        const double gap = second == 5 || second == 16 ? 0.25 : 0;
        builder_.append(word(std::to_string(second), second + gap, second + 1));
    }
    builder_.finish();
    ASSERT_THAT(segments_, ::testing::SizeIs(4));
    EXPECT_EQ(segments_[0], (SpeechSegment{"0 1 2 3 4", 0, 5}));
    EXPECT_EQ(segments_[1], (SpeechSegment{"5 6 7 8 9 10 11 12 13 14 15", 5.25, 10.75}));
    std::string text;
    double end = 0;
    for (const SpeechSegment& segment : segments_) {
        EXPECT_GE(segment.start, end);
        EXPECT_LE(segment.duration, SegmentBuilder::longestSegment);
        end = segment.start + segment.duration;
        text += segment.text + ' ';
    }
    EXPECT_TRUE(text.ends_with("27 28 29 ")) << text;
}

TEST_F(SegmentBuilderTest, TakesAWordThatIsLongerThanASegment) {
    builder_.append(word("a", 0, 0.5));
    builder_.append(word("long", 0.5, 40));
    builder_.append(word("word", 40, 41));
    builder_.finish();
    EXPECT_THAT(segments_, ElementsAre(SpeechSegment{"a", 0, 0.5}, SpeechSegment{"long", 0.5, 39.5},
                                       SpeechSegment{"word", 40, 1}));
}

} // namespace
} // namespace talkledger
