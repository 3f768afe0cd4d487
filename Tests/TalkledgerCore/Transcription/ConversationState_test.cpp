#include "TalkledgerCore/Transcription/ConversationState.h"

#include <gmock/gmock.h>

#include <cmath>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto mic = AudioChannel::mic;
constexpr auto speaker = AudioChannel::speaker;

TranscriptSegment partial(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::partial};
}

TranscriptSegment final(AudioChannel channel, double start, std::string text) {
    return {channel, SpeakerRole::me, start, 1, std::move(text), TranscriptSegmentStatus::final};
}

TranscriptSegment as(SpeakerRole role, TranscriptSegment segment) {
    segment.role = role;
    return segment;
}

ConversationState stateOf(const std::vector<TranscriptSegment>& applied) {
    ConversationState state;
    for (const TranscriptSegment& segment : applied) {
        state.apply(segment);
    }
    return state;
}

std::vector<std::string> texts(const TranscriptDocument& transcript) {
    std::vector<std::string> texts;
    texts.reserve(transcript.segments.size());
    for (const TranscriptSegment& segment : transcript.segments) {
        texts.push_back(segment.text);
    }
    return texts;
}

TEST(ConversationState, KeepsOneHypothesisForEachSpeaker) {
    const ConversationState state =
        stateOf({partial(mic, 0, "a"), partial(mic, 9, " b\u3000\n"), partial(speaker, 4, "c"),
                 as(SpeakerRole::customer, partial(mic, 1, "d")), as(SpeakerRole::me, partial(speaker, 2, "e"))});
    EXPECT_THAT(texts(state.liveTranscript()), ElementsAre("d", "e", "c", "b"));
    EXPECT_THAT(state.stableTranscript().segments, IsEmpty());
}

TEST(ConversationState, LetsAFinalSegmentSupersedeItsSpeakersHypothesisOnly) {
    ConversationState state = stateOf({partial(mic, 0, "a"), partial(speaker, 0, "b"), final(mic, 7, "c")});
    EXPECT_THAT(texts(state.liveTranscript()), ElementsAre("b", "c"));
    EXPECT_THAT(texts(state.stableTranscript()), ElementsAre("c"));
    const ConversationState before = state;
    EXPECT_FALSE(state.apply(final(speaker, 0, " \r\n\u2003")));
    EXPECT_FALSE(state.apply(partial(speaker, 0, "")));
    EXPECT_EQ(state, before);
}

TEST(ConversationState, CorrectsAFinalSegmentOfTheSameStart) {
    const ConversationState state =
        stateOf({final(mic, 5, "a"), final(mic, 2, "b"), final(mic, 5, "c"), final(speaker, 5, "d"),
                 as(SpeakerRole::customer, final(mic, 5, "e")), final(mic, std::nextafter(5, 6), "f")});
    EXPECT_THAT(texts({state.finalSegments()}), ElementsAre("c", "b", "d", "e", "f"));
    EXPECT_THAT(texts(state.liveTranscript()), ElementsAre("b", "c", "e", "d", "f"));
    const double unknown = std::nan("");
    EXPECT_THAT(texts({stateOf({final(mic, unknown, "a"), final(mic, unknown, "b"), final(mic, 0.0, "c"),
                                final(mic, -0.0, "d")})
                           .finalSegments()}),
                ElementsAre("a", "b", "d"));
}

TEST(ConversationState, OrdersTiesByChannelAndFinalsFirst) {
    EXPECT_THAT(texts(stateOf({partial(speaker, 1, "a"), partial(mic, 1, "b"), final(speaker, 1, "c"),
                               partial(speaker, 1, "d"), as(SpeakerRole::customer, final(mic, 1, "e"))})
                          .liveTranscript()),
                ElementsAre("e", "b", "c", "d"));
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
    EXPECT_THAT(texts({state.finalSegments()}), ElementsAre("x", "y"));
    state.reset();
    EXPECT_EQ(state, ConversationState());
    state.apply(final(mic, 2, "anew"));
    EXPECT_THAT(texts({state.finalSegments()}), ElementsAre("anew"));
}

} // namespace
} // namespace talkledger
