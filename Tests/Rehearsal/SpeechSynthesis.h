#pragma once

#include "Rehearsal/Conversation.h"
#include "Rehearsal/Performance.h"

#include <filesystem>
#include <string>
#include <vector>

/// Speech from the synthesiser flite, which its package brings as a program.
namespace talkledger::rehearsal {

/// The voices that are installed. Throws std::runtime_error.
std::vector<std::string> synthesizerVoices();

/// The text, spoken. Throws std::runtime_error.
Samples synthesize(const std::string& voice, const std::string& text, const std::filesystem::path& scratchFolder);

/// All that is said. Throws std::runtime_error.
Performance speak(const Conversation& conversation, const std::filesystem::path& scratchFolder);

} // namespace talkledger::rehearsal
