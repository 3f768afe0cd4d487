#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace talkledger {
namespace {

const TranscriptSourceSeparator separator{1.0, 0.82};

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

TEST(TranscriptSourceSeparator, NormalisesAwayWhatSpeechDoesNotTell) {
    EXPECT_EQ(TranscriptSourceSeparator::normalizedText("Yes, that's\u3000right!"), "yesthatsright");
    EXPECT_EQ(TranscriptSourceSeparator::normalizedText("はい、「予算」は ￥１００万＋税です。"),
              "はい予算は１００万税です");
    EXPECT_EQ(TranscriptSourceSeparator::normalizedText("... 🎉 $+"), "");
    EXPECT_EQ(TranscriptSourceSeparator::normalizedText("が\u3099 ｶﾞ É"), "が\u3099ｶﾞé");
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

/// The definition of the length, without any of the algorithm's economy.
std::size_t plainCommonLength(const std::vector<std::string>& x, const std::vector<std::string>& y) {
    std::vector<std::vector<std::size_t>> table(x.size() + 1, std::vector<std::size_t>(y.size() + 1, 0));
    for (std::size_t row = x.size(); row-- > 0;) {
        for (std::size_t column = y.size(); column-- > 0;) {
            table[row][column] = x[row] == y[column] ? table[row + 1][column + 1] + 1
                                                     : std::max(table[row + 1][column], table[row][column + 1]);
        }
    }
    return table[0][0];
}

double plainSimilarity(const std::string& first, const std::string& second) {
    const std::string a = TranscriptSourceSeparator::normalizedText(first);
    const std::string b = TranscriptSourceSeparator::normalizedText(second);
    if (a.empty() || b.empty()) {
        return 0;
    }
    if (a == b || a.find(b) != std::string::npos || b.find(a) != std::string::npos) {
        return 1;
    }
    const auto x = text::characters(a);
    const auto y = text::characters(b);
    if (std::min(x.size(), y.size()) < 4) {
        return 0;
    }
    return static_cast<double>(plainCommonLength(x, y)) / static_cast<double>(std::max(x.size(), y.size()));
}

std::vector<TranscriptSegment> plainlySeparated(const std::vector<TranscriptSegment>& segments) {
    std::vector<TranscriptSegment> kept;
    for (const TranscriptSegment& candidate : segments) {
        bool isEcho = false;
        for (const TranscriptSegment& other : segments) {
            const auto end = [](const auto& each) { return each.startTime + (each.duration > 0 ? each.duration : 0); };
            isEcho = isEcho ||
                     (candidate.channel == AudioChannel::mic && other.channel == AudioChannel::speaker &&
                      candidate.startTime - 1.0 < end(other) + 1.0 && other.startTime - 1.0 < end(candidate) + 1.0 &&
                      plainSimilarity(candidate.text, other.text) >= 0.82);
        }
        if (!isEcho) {
            kept.push_back(candidate);
        }
    }
    std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) {
        return a.startTime < b.startTime || (!std::isnan(a.startTime) && std::isnan(b.startTime));
    });
    return kept;
}

class RandomTexts {
public:
    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }

    std::string text(int longest) {
        static constexpr const char* pieces[] = {
            "a", "b", "A", " ", "。", "予", "か\u3099", "👨‍👩‍👧", "\u0301", "\xFF"};
        std::string text;
        for (int count = below(longest); count > 0; --count) {
            text += pieces[below(static_cast<int>(std::size(pieces)))];
        }
        return text;
    }

    /// Nearly the same.
    std::string misheard(std::string text) {
        for (int count = below(3); count > 0 && !text.empty(); --count) {
            text[static_cast<std::size_t>(below(static_cast<int>(text.size())))] = 'b';
        }
        return text;
    }

private:
    std::mt19937 random_{17};
};

TEST(TranscriptSourceSeparator, FindsTheLengthThatThePlainTableFinds) {
    RandomTexts random;
    for (int round = 0; round < 2000; ++round) {
        const auto x = text::characters(random.text(30));
        const auto y = text::characters(random.text(30));
        EXPECT_EQ(TranscriptSourceSeparator::longestCommonSubsequenceLength(x, y), plainCommonLength(x, y));
    }
}

TEST(TranscriptSourceSeparator, KeepsWhatThePlainAlgorithmKeeps) {
    RandomTexts random;
    std::size_t dropped = 0;
    for (int round = 0; round < 300; ++round) {
        std::vector<TranscriptSegment> segments;
        for (int index = 0; index < 20; ++index) {
            const auto channel = random.below(2) == 0 ? AudioChannel::mic : AudioChannel::speaker;
            const double start = random.below(20) == 0 ? std::nan("") : random.below(40) / 2.0;
            std::string text =
                !segments.empty() && random.below(2) == 0 ? random.misheard(segments.back().text) : random.text(25);
            segments.push_back(segment(channel, start, random.below(6) - 2, std::move(text)));
        }
        const auto kept = separator.suppressMicrophoneEchoes(segments);
        const auto expected = plainlySeparated(segments);
        ASSERT_EQ(kept.size(), expected.size());
        for (std::size_t index = 0; index < kept.size(); ++index) {
            EXPECT_EQ(kept[index].text, expected[index].text);
            EXPECT_EQ(kept[index].channel, expected[index].channel);
        }
        dropped += segments.size() - kept.size();
    }
    EXPECT_GT(dropped, 300U);
}

} // namespace
} // namespace talkledger
