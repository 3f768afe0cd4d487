#pragma once

#include "Rehearsal/Conversation.h"
#include "Rehearsal/Performance.h"

#include <filesystem>

namespace talkledger::rehearsal {

/// How a finished recording holds against what was played and said.
struct RecordingFindings {
    double wordsOfMe{0};       ///< share found, in order, in this speaker's text
    double wordsOfCustomer{0}; ///< likewise
    bool micExact{false};      ///< the played passage stands in the microphone's file sample for sample
    double offsetMs{0};        ///< the output's passage begins this much later than the microphone's, on the time line
    double lengthErrorMs{0};   ///< the output's passage is this much longer than it was played
    double likeness{0};        ///< correlation coefficient of the passage's ends in the output's file, the worse one
};

/// Throws RehearsalError, FileSystemError or JsonError when a file of the finished recording is missing or not as it
/// has to be, or when its Markdown document lacks a part of the transcript.
void demandCompleteness(const std::filesystem::path& recording, const std::filesystem::path& document);

/// Throws RehearsalError, FileSystemError or JsonError when something cannot be read.
RecordingFindings examine(const std::filesystem::path& recording, const Conversation& conversation,
                          const Performance& performance);

} // namespace talkledger::rehearsal
