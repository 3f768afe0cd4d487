#include "TalkledgerPlatform/Audio/FileSync.h"

#include "TalkledgerPlatform/Files/Durability.h"

#include <boost/asio/post.hpp>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <utility>

namespace talkledger {

struct FileSync::State {
    FileDescriptor descriptor; ///< a duplicate: the writer's may be closed while a sync runs
    std::filesystem::path folder;
    std::atomic<int> lastError{0};
    std::mutex lock; ///< held during a sync; guards what follows
    bool isNameDurable{false};
    bool isFinished{false};

    State(FileDescriptor duplicate, std::filesystem::path containingFolder)
        : descriptor(std::move(duplicate)), folder(std::move(containingFolder)) {}

    /// With the lock held.
    int synchronise() {
        int error = uninterrupted([this] { return fdatasync(descriptor.number()); }) < 0 ? errno : 0;
        if (error == 0 && !isNameDurable) {
            error = synchroniseFolder(folder);
            isNameDurable = error == 0;
        }
        lastError = error;
        return error;
    }
};

FileSync::FileSync(const FileDescriptor& file, const std::filesystem::path& path, Executor blockingExecutor)
    : state_(std::make_shared<State>(file.duplicate(path), path.parent_path())),
      blockingExecutor_(std::move(blockingExecutor)) {}

bool FileSync::begin() {
    if (!underWay_.expired()) {
        return false;
    }
    // Of its own for each sync: it ends with it, whether the sync has run or its executor has not taken it any more.
    const std::shared_ptr<State> sync(state_.get(), [keptState = state_](State*) {});
    underWay_ = sync;
    boost::asio::post(blockingExecutor_, [sync] {
        const std::lock_guard guard(sync->lock);
        if (!sync->isFinished) {
            sync->synchronise();
        }
    });
    return true;
}

int FileSync::lastError() const {
    return state_->lastError;
}

int FileSync::finish() {
    const std::lock_guard guard(state_->lock);
    state_->isFinished = true;
    return state_->synchronise();
}

} // namespace talkledger
