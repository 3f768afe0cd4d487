#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Audio/FileDescriptor.h"

#include <filesystem>
#include <memory>

namespace talkledger {

/// Brings what is written to a file to the disk itself, for the case of a power cut: on an executor that may block,
/// never two syncs at once, and never in the writer's way. Used by one thread at a time.
class FileSync {
public:
    /// `path` is where the open file lies. Throws AudioFileError.
    FileSync(const FileDescriptor& file, const std::filesystem::path& path, Executor blockingExecutor);

    /// Does not wait: a sync that is under way ends by itself.
    ~FileSync() = default;
    FileSync(FileSync&&) = default;
    FileSync& operator=(FileSync&&) = delete;
    FileSync(const FileSync&) = delete;
    FileSync& operator=(const FileSync&) = delete;

    /// Begins to sync what has been written so far. False, and nothing begins, as long as the last sync has not ended.
    bool begin();

    /// An errno value: what became of the last sync that has ended.
    int lastError() const;

    /// Syncs what has been written so far, and returns when that is done: an errno value. No other one follows.
    int finish();

private:
    struct State;

    std::shared_ptr<State> state_;
    std::weak_ptr<State> underWay_; ///< alive as long as the last sync has not ended
    Executor blockingExecutor_;
};

} // namespace talkledger
