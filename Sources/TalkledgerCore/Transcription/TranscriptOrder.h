#pragma once

#include "TalkledgerCore/Model/Models.h"

/// The orders of transcript segments, for stable sorts. Start times that are no number come behind all others and are
/// equal to each other; negative and infinite ones stand where their value puts them.
namespace talkledger {

bool startsBefore(const TranscriptSegment& first, const TranscriptSegment& second);

/// By start time, then the microphone before the speaker.
bool precedesInTranscript(const TranscriptSegment& first, const TranscriptSegment& second);

} // namespace talkledger
