#pragma once

#include "Rehearsal/Performance.h"

#include <filesystem>

namespace talkledger::rehearsal {

/// The first channel of a sound file of any kind, at `kFrameRate`: sample for sample what is in an uncompressed file of
/// that rate, without the encoder's priming in a compressed one. A file that was cut off is read as far as it goes.
/// Throws RehearsalError when it cannot be read as sound at all.
Samples readFirstChannel(const std::filesystem::path& file);

} // namespace talkledger::rehearsal
