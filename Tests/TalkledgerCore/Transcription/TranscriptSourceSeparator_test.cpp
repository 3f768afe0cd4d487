#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

TranscriptSegment segment(AudioChannel channel, double start, double duration, std::string text) {
    return {channel, SpeakerRole::me, start, duration, std::move(text), TranscriptSegmentStatus::final};
}

bool isDropped(const TranscriptSegment& mic, const TranscriptSegment& speaker,
               TranscriptSourceSeparator separator = recordingSourceSeparator) {
    return separator.suppressMicrophoneEchoes(std::vector{mic, speaker}) == std::vector{speaker};
}

bool isDropped(const std::string& mic, const std::string& speaker,
               TranscriptSourceSeparator separator = recordingSourceSeparator) {
    return isDropped(segment(AudioChannel::mic, 0, 1, mic), segment(AudioChannel::speaker, 0, 1, speaker), separator);
}

// Times and texts of every other kind are held against the plain rules by the live conversation's test.

TEST(TranscriptSourceSeparator, ComparesSpansWidenedAtBothEnds) {
    const auto areCompared = [](double micStart, double micDuration, double speakerStart, double speakerDuration) {
        return isDropped(segment(AudioChannel::mic, micStart, micDuration, "same words"),
                         segment(AudioChannel::speaker, speakerStart, speakerDuration, "Same words."));
    };
    EXPECT_TRUE(areCompared(0, 0, 1.5, 0));
    EXPECT_FALSE(areCompared(0, 0, 2.0, 0));
    EXPECT_TRUE(areCompared(12.5, 1, 10, 1));
}

TEST(TranscriptSourceSeparator, DropsEqualContainedAndNearlyEqualTexts) {
    EXPECT_TRUE(isDropped("OK", "OK, let's start"));
    EXPECT_TRUE(isDropped("OK, let's start", "ok"));
    EXPECT_FALSE(isDropped("yes", "yeah"));
    EXPECT_FALSE(isDropped("...", "..."));
    EXPECT_FALSE(isDropped("", "anything"));
    EXPECT_TRUE(isDropped("abcdefghij", "abcXdefghYij"));  // 10 of 12
    EXPECT_FALSE(isDropped("abcdefghiZ", "abcXdefghYiW")); // 9 of 12
    EXPECT_TRUE(isDropped("ご予算は百万円ぐらいですか", "ご予算は百万円くらいですか。"));
    EXPECT_TRUE(isDropped("abcX", "abcY", {1.0, 0.75})) << "just as similar as asked";
    EXPECT_FALSE(isDropped("abcX", "abcY", {1.0, 0.76}));
}

} // namespace
} // namespace talkledger
