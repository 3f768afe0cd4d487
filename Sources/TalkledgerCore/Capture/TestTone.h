#pragma once

#include "TalkledgerCore/Ports/Audio.h"

namespace talkledger {

/// Two soft notes of half a second each: what the user is to hear, and the program with him.
AudioBuffer makeTestTone();

} // namespace talkledger
