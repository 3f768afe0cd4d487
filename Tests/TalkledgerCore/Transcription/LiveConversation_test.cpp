#include "Reference/PlainConversation.h"
#include "Reference/RandomConversation.h"
#include "TalkledgerCore/Transcription/LiveConversation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = TranscriptLineChange::Kind;

TranscriptSegment said(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::final};
}

TranscriptSegment guessed(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::partial};
}

/// Who shows the lines and knows nothing but the changes.
class Reader {
public:
    void follow(const std::vector<TranscriptLineChange>& changes) {
        for (const TranscriptLineChange& change : changes) {
            const auto row = lines.begin() + static_cast<std::ptrdiff_t>(change.row);
            switch (change.kind) {
            case Kind::inserted:
                ASSERT_LE(change.row, lines.size());
                lines.insert(row, change.line);
                break;
            case Kind::replaced:
                ASSERT_LT(change.row, lines.size());
                ASSERT_NE(*row, change.line);
                *row = change.line;
                break;
            case Kind::removed:
                ASSERT_LT(change.row, lines.size());
                lines.erase(row);
                break;
            }
            for (std::size_t id = change.row; id < lines.size(); ++id) {
                lines[id].id = id;
            }
        }
    }

    std::vector<TranscriptTimelineLine> lines;
};

/// As equal as it gets for a time that is no number.
bool areTheSame(const TranscriptDocument& first, const TranscriptDocument& second) {
    return std::equal(first.segments.begin(), first.segments.end(), second.segments.begin(), second.segments.end(),
                      [](const TranscriptSegment& a, const TranscriptSegment& b) {
                          const auto bits = [](double number) { return std::bit_cast<std::uint64_t>(number); };
                          return a.channel == b.channel && a.role == b.role && a.text == b.text &&
                                 a.status == b.status && bits(a.startTime) == bits(b.startTime) &&
                                 bits(a.duration) == bits(b.duration);
                      });
}

void expectThePlainResult(unsigned seed, TranscriptSourceSeparator separator, int results) {
    reference::RandomConversation random(seed);
    reference::PlainConversation plain;
    LiveConversation conversation(separator);
    Reader reader;
    for (int result = 0; result < results; ++result) {
        const TranscriptSegment arriving = random.nextSegment();
        plain.apply(arriving);
        reader.follow(conversation.apply(arriving));
        const TranscriptDocument live = plain.liveTranscript();
        ASSERT_TRUE(areTheSame(conversation.state().liveTranscript(), live)) << seed << " " << result;
        const TranscriptDocument expected =
            reference::suppressMicrophoneEchoes(live, separator.overlapTolerance, separator.similarityThreshold);
        ASSERT_TRUE(areTheSame(separator.suppressMicrophoneEchoes(live), expected)) << seed << " " << result;
        ASSERT_TRUE(areTheSame(conversation.transcript(), expected)) << seed << " " << result;
        const auto lines = TranscriptTimelineBuilder().buildLines(expected);
        ASSERT_EQ(conversation.lines(), lines) << seed << " " << result;
        ASSERT_EQ(reader.lines, lines) << seed << " " << result;
    }
    reader.follow(conversation.reset());
    EXPECT_THAT(reader.lines, IsEmpty());
    EXPECT_EQ(conversation.state(), ConversationState());
}

TEST(LiveConversation, IsWhatThePlainRulesGiveAfterEveryResult) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        expectThePlainResult(seed, recordingSourceSeparator, 60);
    }
    expectThePlainResult(60, recordingSourceSeparator, 250);
}

TEST(LiveConversation, FollowsThePlainRulesWithAnySettings) {
    const double unknown = std::numeric_limits<double>::quiet_NaN();
    const double endless = std::numeric_limits<double>::infinity();
    unsigned seed = 100;
    for (const double tolerance : {0.0, 1.0, -0.5, 30.0, endless, unknown}) {
        for (const double threshold : {0.0, 0.5, 0.82, 1.0, 1.1, unknown}) {
            expectThePlainResult(++seed, {tolerance, threshold}, 40);
        }
    }
}

TEST(LiveConversation, TellsOnlyWhatChanges) {
    LiveConversation conversation;
    const auto kinds = [&](const TranscriptSegment& arriving) {
        std::vector<std::pair<Kind, std::size_t>> changes;
        for (const TranscriptLineChange& change : conversation.apply(arriving)) {
            changes.emplace_back(change.kind, change.row);
            EXPECT_EQ(change.line.id, change.kind == Kind::removed ? 0 : change.row);
        }
        return changes;
    };
    EXPECT_THAT(kinds(said(AudioChannel::speaker, 0, "What does it cost?")), ElementsAre(std::pair(Kind::inserted, 0)));
    EXPECT_THAT(kinds(guessed(AudioChannel::mic, 2, "Six")), ElementsAre(std::pair(Kind::inserted, 1)));
    EXPECT_THAT(kinds(guessed(AudioChannel::mic, 2, "Six hundred")), ElementsAre(std::pair(Kind::replaced, 1)));
    EXPECT_THAT(kinds(guessed(AudioChannel::mic, 2, "Six hundred")), IsEmpty());
    EXPECT_THAT(kinds(said(AudioChannel::mic, 2, "Six hundred.")), ElementsAre(std::pair(Kind::replaced, 1)));
    // An echo is not shown, and what has been shown of one goes as soon as the original arrives.
    EXPECT_THAT(kinds(guessed(AudioChannel::mic, 0.5, "what does it cost")), IsEmpty());
    EXPECT_THAT(kinds(said(AudioChannel::mic, 10, "every month")), ElementsAre(std::pair(Kind::inserted, 2)));
    EXPECT_THAT(kinds(guessed(AudioChannel::speaker, 11, "Each")), ElementsAre(std::pair(Kind::inserted, 3)));
    EXPECT_THAT(kinds(guessed(AudioChannel::speaker, 11, "Every month")),
                ElementsAre(std::pair(Kind::replaced, 2), std::pair(Kind::removed, 3)));
    EXPECT_THAT(kinds(said(AudioChannel::speaker, 11, "Each year")),
                ElementsAre(std::pair(Kind::replaced, 2), std::pair(Kind::inserted, 3)));
}

} // namespace
} // namespace talkledger
