#include "TalkledgerCore/Transcription/TranscriptBubblePlacement.h"

namespace talkledger {

TranscriptBubbleSide TranscriptBubblePlacement::side(SpeakerRole role) {
    return role == SpeakerRole::me ? TranscriptBubbleSide::trailing : TranscriptBubbleSide::leading;
}

} // namespace talkledger
