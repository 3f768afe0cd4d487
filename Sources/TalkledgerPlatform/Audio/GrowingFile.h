#pragma once

#include "TalkledgerPlatform/Audio/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace talkledger {

/// A file that is written at its end. What the disk does not take is kept in memory and written before what comes next,
/// so that a full disk costs nothing as long as it does not stay full. Used by one thread at a time.
class GrowingFile {
public:
    /// Creates the file; throws AudioFileError.
    explicit GrowingFile(const std::filesystem::path& path) : descriptor_(FileDescriptor::create(path)) {}

    /// False when the bytes are lost: more waits already than memory should hold.
    bool write(std::span<const std::uint8_t> bytes);

    /// Tries to write what waits. True when nothing waits any more.
    bool flush();

    /// Brings it to the disk itself; an errno value.
    int synchronise();

    bool hasWaitingBytes() const { return !waiting_.empty(); }

    bool isRemoved() const { return descriptor_.isRemoved(); }

    /// The errno value of the last write that the disk did not take.
    int lastError() const { return lastError_; }

private:
    FileDescriptor descriptor_;
    std::vector<std::uint8_t> waiting_;
    int lastError_{0};
};

} // namespace talkledger
