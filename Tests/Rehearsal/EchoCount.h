#pragma once

#include <cstddef>
#include <filesystem>

namespace talkledger::rehearsal {

/// How many of the microphone's segments repeat the customer: transcribes both tracks of the recording once more, with
/// the transcriber that stands beside this program, and separates them as the end of a recording does.
std::size_t countEchoes(const std::filesystem::path& recording);

} // namespace talkledger::rehearsal
