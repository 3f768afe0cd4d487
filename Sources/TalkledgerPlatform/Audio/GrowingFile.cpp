#include "TalkledgerPlatform/Audio/GrowingFile.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace talkledger {
namespace {

/// More than an hour of sound at 128 kbit/s.
constexpr std::size_t kLargestWait = 64 << 20;

} // namespace

GrowingFile::GrowingFile(const std::filesystem::path& path, Executor blockingExecutor)
    : descriptor_(FileDescriptor::create(path)), sync_(descriptor_, path, std::move(blockingExecutor)) {}

bool GrowingFile::write(std::span<const std::uint8_t> bytes) {
    if (waiting_.size() + bytes.size() > kLargestWait) {
        return false;
    }
    waiting_.insert(waiting_.end(), bytes.begin(), bytes.end());
    flush();
    return true;
}

bool GrowingFile::flush() {
    std::size_t done = 0;
    while (done < waiting_.size()) {
        const ssize_t count = ::write(descriptor_.number(), waiting_.data() + done, waiting_.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            lastError_ = count < 0 ? errno : ENOSPC;
            break;
        }
        done += static_cast<std::size_t>(count);
        hasUnsyncedBytes_ = true;
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(done));
    return waiting_.empty();
}

void GrowingFile::beginSync() {
    if (hasUnsyncedBytes_ && sync_.begin()) {
        hasUnsyncedBytes_ = false;
    }
}

} // namespace talkledger
