#pragma once

#include "Rehearsal/Conversation.h"
#include "Rehearsal/Performance.h"
#include "TalkledgerCore/Model/Models.h"

#include <filesystem>

namespace talkledger::rehearsal {

/// The share of each speaker's words that were found, in order, in that speaker's text.
struct WordShares {
    double me{0};
    double customer{0};
};

WordShares sharesOfWords(const Conversation& conversation, const TranscriptDocument& transcript);

/// How a finished recording holds against what was played and said.
struct RecordingFindings {
    WordShares words;
    bool micExact{false};    ///< the played passage stands in the microphone's file sample for sample
    double offsetMs{0};      ///< the output's passage begins this much later than the microphone's, on the time line
    double lengthErrorMs{0}; ///< the output's passage is this much longer than it was played
    double likeness{0};      ///< correlation coefficient of the passage's ends in the output's file, the worse one
};

/// Throws RehearsalError, FileSystemError or JsonError when a file of the finished recording is missing or not as it
/// has to be, or when its Markdown document lacks a part of the transcript.
void demandCompleteness(const std::filesystem::path& recording, const std::filesystem::path& document);

/// Throws RehearsalError, FileSystemError or JsonError when something cannot be read.
RecordingFindings examine(const std::filesystem::path& recording, const Conversation& conversation,
                          const Performance& performance);

} // namespace talkledger::rehearsal
