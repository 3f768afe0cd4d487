#include "TalkledgerPlatform/Audio/FileSync.h"

#include <boost/asio/post.hpp>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <utility>

namespace talkledger {
namespace {

/// An errno value of a call that fails with a negative number.
template <typename Call>
int errorOf(const Call& call) {
    int result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result < 0 ? errno : 0;
}

} // namespace

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
        int error = errorOf([this] { return fdatasync(descriptor.number()); });
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

int synchroniseFolder(const std::filesystem::path& folder) {
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.number() < 0) {
        return errno;
    }
    const int error = errorOf([&descriptor] { return fsync(descriptor.number()); });
    return error == EINVAL ? 0 : error; // some file systems take no fsync of a folder
}

} // namespace talkledger
