#include "Rehearsal/ConversationPlayer.h"

namespace talkledger::rehearsal {

ConversationPlayer::ConversationPlayer(const Performance& performance, const std::string& outputNode,
                                       const std::string& microphoneNode)
    : CyclePlayer(
          "talkledger-rehearsal",
          {{.samples = performance.output, .targets = {outputNode + ":playback_FL", outputNode + ":playback_FR"}},
           {.samples = performance.microphone, .targets = {microphoneNode + ":input_MONO"}}}) {}

} // namespace talkledger::rehearsal
