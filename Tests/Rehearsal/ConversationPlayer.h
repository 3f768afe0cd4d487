#pragma once

#include "Rehearsal/Performance.h"
#include "Support/CyclePlayer.h"

#include <string>

namespace talkledger::rehearsal {

/// Plays a performance: its output track into an output of this name, its microphone track into a virtual microphone.
class ConversationPlayer : public testing::CyclePlayer {
public:
    ConversationPlayer(const Performance& performance, const std::string& outputNode,
                       const std::string& microphoneNode);
};

} // namespace talkledger::rehearsal
