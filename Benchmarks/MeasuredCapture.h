#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace talkledger {

/// What a process that captures both tracks tells of itself.
struct CaptureFigures {
    double processorSeconds{0};         ///< its own
    double recognitionSeconds{0};       ///< of its recognisers, in processes of their own
    long memoryGrowth{0};               ///< kB, from some seconds after the start to the end
    std::int64_t missingFrames{0};      ///< put in as silence, of both tracks; only told when they are recognised
    std::int64_t recognisedSegments{0}; ///< final ones
};

std::string encodeFigures(const CaptureFigures& figures);

/// Throws std::runtime_error.
CaptureFigures decodeFigures(const std::string& text);

/// The frames of a sound file that are not what was played but silence in its place.
std::int64_t missingFrames(const std::filesystem::path& file);

/// Records both tracks into `folder` until SIGINT, as the program does, and while it lasts has both recognised if that
/// is wanted.
CaptureFigures runCapture(const std::filesystem::path& folder, bool recognises);

} // namespace talkledger
