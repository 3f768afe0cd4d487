#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <filesystem>

namespace talkledger::rehearsal {

/// Whether the program has the engine for language models.
bool hasLanguageModelEngine();

/// Puts a language model into the folder that writes the same summary whatever was said.
void installCannedSummary(const std::filesystem::path& models);

bool isCannedSummary(const SalesSummary& summary);

} // namespace talkledger::rehearsal
