#include "TalkledgerCore/Transcription/ConversationState.h"

#include <gmock/gmock.h>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

constexpr auto mic = AudioChannel::mic;
constexpr auto speaker = AudioChannel::speaker;

TranscriptSegment partial(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::partial};
}

TranscriptSegment final(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::final};
}

std::vector<std::string> texts(const TranscriptDocument& transcript) {
    std::vector<std::string> texts;
    for (const TranscriptSegment& segment : transcript.segments) {
        texts.push_back(segment.text);
    }
    return texts;
}

// What single results do to the live transcript is held against the plain rules by the live conversation's test.

TEST(ConversationState, TakesNothingButAFinalSegmentForStable) {
    ConversationState state;
    for (const auto& segment : {partial(mic, 0, "a"), partial(speaker, 0, "b"), final(mic, 7, "c")}) {
        state.apply(segment);
    }
    EXPECT_THAT(texts(state.stableTranscript()), ElementsAre("c"));
    const ConversationState before = state;
    EXPECT_FALSE(state.apply(final(speaker, 0, " \r\n\u2003")));
    EXPECT_EQ(state, before);
}

TEST(ConversationState, IsMadeOfListsWhateverTheirStatus) {
    ConversationState state({partial(mic, 1, " a "), final(mic, 0, " "), final(mic, 1, "b"), final(mic, 1, "c")},
                            {final(speaker, 3, "d"), partial(speaker, 2, "e "), partial(mic, 2, "\t")});
    EXPECT_THAT(state.finalSegments(), ElementsAre(final(mic, 1, "a"), final(mic, 1, "b"), final(mic, 1, "c")));
    EXPECT_THAT(texts(state.liveTranscript()), ElementsAre("a", "b", "c", "e"));
    EXPECT_EQ(state.liveTranscript().segments.back().status, TranscriptSegmentStatus::partial);
    state.apply(final(mic, 1, "first"));
    EXPECT_THAT(texts({state.finalSegments()}), ElementsAre("first", "b", "c"));

    state.replaceFinalTranscript({{partial(speaker, 4, "x "), final(mic, 3, "\n"), final(mic, 2, "y")}});
    EXPECT_EQ(state, ConversationState({final(speaker, 4, "x"), final(mic, 2, "y")}, {}));
    state.reset();
    state.apply(final(mic, 2, "anew"));
    EXPECT_THAT(texts({state.finalSegments()}), ElementsAre("anew"));
}

} // namespace
} // namespace talkledger
