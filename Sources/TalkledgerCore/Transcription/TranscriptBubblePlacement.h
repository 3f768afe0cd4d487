#pragma once

#include "TalkledgerCore/Model/Models.h"

namespace talkledger {

enum class TranscriptBubbleSide { leading, trailing };

/// On which side a speaker's lines stand: the user's own on the trailing one.
struct TranscriptBubblePlacement {
    static TranscriptBubbleSide side(SpeakerRole role);
};

} // namespace talkledger
