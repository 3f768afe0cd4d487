#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace talkledger {
namespace {

constexpr TranscriptSourceSeparator separator = recordingSourceSeparator;

TranscriptSegment segment(AudioChannel channel, double start, double duration, std::string text) {
    return {channel, SpeakerRole::me, start, duration, std::move(text), TranscriptSegmentStatus::final};
}

bool isDropped(double micStart, double micDuration, const std::string& mic, double speakerStart, double speakerDuration,
               const std::string& speaker) {
    const auto kept = separator.suppressMicrophoneEchoes(
        std::vector{segment(AudioChannel::mic, micStart, micDuration, mic),
                    segment(AudioChannel::speaker, speakerStart, speakerDuration, speaker)});
    const auto speakers =
        std::count_if(kept.begin(), kept.end(), [](const auto& each) { return each.channel == AudioChannel::speaker; });
    EXPECT_EQ(speakers, 1);
    return kept.size() == 1;
}

bool isDropped(const std::string& mic, const std::string& speaker) {
    return isDropped(0, 1, mic, 0, 1, speaker);
}

TEST(TranscriptSourceSeparator, ComparesSpansWidenedAtBothEnds) {
    EXPECT_TRUE(isDropped(0, 0, "same words", 1.5, 0, "Same words."));
    EXPECT_FALSE(isDropped(0, 0, "same words", 2.0, 0, "same words"));
    EXPECT_TRUE(isDropped(10, -5, "same words", 8.5, -3, "same words"));
    EXPECT_TRUE(isDropped(12.5, 1, "same words", 10, 1, "same words"));
    const double unknown = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(isDropped(unknown, 1, "same words", 0, 1, "same words"));
    EXPECT_TRUE(isDropped(0, unknown, "same words", 0, 1, "same words"));
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
}

TEST(TranscriptSourceSeparator, DropsWhatIsJustAsSimilarAsAsked) {
    const auto keptWith = [](double threshold) {
        const TranscriptSourceSeparator separator{1.0, threshold};
        return separator
            .suppressMicrophoneEchoes(std::vector{segment(AudioChannel::mic, 0, 1, "abcX"),
                                                  segment(AudioChannel::speaker, 0, 1, "abcY"),
                                                  segment(AudioChannel::mic, 0, 1, "...")})
            .size();
    };
    EXPECT_EQ(keptWith(0.76), 3U);
    EXPECT_EQ(keptWith(0.75), 2U);
    EXPECT_EQ(keptWith(0.0), 1U);
}

TEST(TranscriptSourceSeparator, SortsStablyWithUnknownTimesLast) {
    const double unknown = std::numeric_limits<double>::quiet_NaN();
    const double never = std::numeric_limits<double>::infinity();
    const TranscriptDocument document{{segment(AudioChannel::mic, unknown, 0, "a"),
                                       segment(AudioChannel::mic, 2, 0, "b"), segment(AudioChannel::mic, never, 0, "c"),
                                       segment(AudioChannel::mic, 1, 0, "d"), segment(AudioChannel::mic, 2, 0, "e"),
                                       segment(AudioChannel::mic, unknown, 0, "f"),
                                       segment(AudioChannel::mic, -never, 0, "g")}};
    std::string order;
    for (const TranscriptSegment& each : separator.suppressMicrophoneEchoes(document).segments) {
        order += each.text;
    }
    EXPECT_EQ(order, "gdbecaf");
    EXPECT_TRUE(separator.suppressMicrophoneEchoes(TranscriptDocument()).segments.empty());
}

} // namespace
} // namespace talkledger
