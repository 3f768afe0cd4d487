#pragma once

#include "TalkledgerPlatform/Audio/FileDescriptor.h"
#include "TalkledgerPlatform/Audio/FileSync.h"

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
    /// Creates the file; throws AudioFileError. Syncs run on `blockingExecutor`.
    GrowingFile(const std::filesystem::path& path, Executor blockingExecutor);

    /// False when the bytes are lost: more waits already than memory should hold.
    bool write(std::span<const std::uint8_t> bytes);

    /// Tries to write what waits. True when nothing waits any more.
    bool flush();

    /// Begins to bring what has been written to the disk itself, as soon as the last such sync has ended.
    void beginSync();

    /// An errno value: what became of the last sync that has ended.
    int lastSyncError() const { return sync_.lastError(); }

    /// Syncs for the last time, and returns when that is done: an errno value.
    int synchronise() { return sync_.finish(); }

    bool hasWaitingBytes() const { return !waiting_.empty(); }

    bool isRemoved() const { return descriptor_.isRemoved(); }

    /// The errno value of the last write that the disk did not take.
    int lastError() const { return lastError_; }

private:
    FileDescriptor descriptor_;
    FileSync sync_;
    bool hasUnsyncedBytes_{false};
    std::vector<std::uint8_t> waiting_;
    int lastError_{0};
};

} // namespace talkledger
