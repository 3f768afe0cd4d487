#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Transcription/ConversationState.h"
#include "TalkledgerCore/Transcription/LiveTimeline.h"
#include "TalkledgerCore/Transcription/SpokenText.h"
#include "TalkledgerCore/Transcription/TimeSpan.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"
#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace talkledger {

/// The conversation of a recording in progress as it is shown: its transcript without the microphone's echoes, and the
/// lines of that. Both are what separating the state's live transcript and building its lines would give; but a result
/// costs only a look at what was said at about the same time, however long the conversation has become.
/// Called on the main executor.
class LiveConversation {
public:
    explicit LiveConversation(TranscriptSourceSeparator separator = recordingSourceSeparator);
    LiveConversation(const LiveConversation&) = delete;
    LiveConversation& operator=(const LiveConversation&) = delete;
    ~LiveConversation() = default;

    /// Merges one result; tells what that makes of the lines.
    std::vector<TranscriptLineChange> apply(const TranscriptSegment& segment);

    std::vector<TranscriptLineChange> reset();

    const ConversationState& state() const { return state_; }

    /// Made when it is asked for.
    TranscriptDocument transcript() const;

    std::vector<TranscriptTimelineLine> lines() const { return timeline_.lines(); }

private:
    /// What is known of one of the state's segments.
    struct Utterance {
        ConversationState::Place place;
        TranscriptPlace order;
        TimeSpan span;
        std::optional<SpokenText> text;   ///< made ready when the first comparison needs it
        const Utterance* echoOf{nullptr}; ///< the speaker's utterance that the microphone has picked up
    };

    const TranscriptSegment& segmentAt(const ConversationState::Place& place) const;
    Utterance utteranceAt(const ConversationState::Place& place) const;
    void store(const ConversationState::Place& place);

    void enter(Utterance& utterance);
    void leave(Utterance& utterance);
    void showUnlessEcho(Utterance& microphone);
    bool isEcho(Utterance& microphone, Utterance& speaker);
    const SpokenText& textOf(Utterance& utterance);

    TranscriptSourceSeparator separator_;
    ConversationState state_;
    std::deque<Utterance> finals_; ///< at the positions of the state's final segments
    std::map<ConversationState::PartialSegmentKey, Utterance> partials_;
    TimeSpanIndex<Utterance*> microphone_;
    TimeSpanIndex<Utterance*> speaker_;
    SpeechAlphabet alphabet_;
    LiveTimeline timeline_;
};

} // namespace talkledger
