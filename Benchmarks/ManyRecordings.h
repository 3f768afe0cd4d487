#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <cstddef>
#include <filesystem>

namespace talkledger {

/// Puts so many finished recordings into a library, without the care of the program's own store, which would take
/// minutes over it. Throws when they cannot be written.
void addRecordings(const std::filesystem::path& library, std::size_t count, const TranscriptDocument& transcript);

} // namespace talkledger
