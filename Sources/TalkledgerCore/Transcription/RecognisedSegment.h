#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/Speech.h"

#include <optional>

namespace talkledger {

/// What the recogniser heard on a channel, as a piece of its transcript: the text trimmed, times that are not finite as
/// 0. Absent when there is no text.
std::optional<TranscriptSegment> recognisedSegment(const SpeechTranscriptionResult& result, AudioChannel channel,
                                                   SpeakerRole role);

} // namespace talkledger
