#include "TalkledgerPlatform/Audio/GrowingFile.h"

#include <unistd.h>

#include <cerrno>

namespace talkledger {
namespace {

/// More than an hour of sound at 128 kbit/s.
constexpr std::size_t kLargestWait = 64 << 20;

} // namespace

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
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(done));
    return waiting_.empty();
}

int GrowingFile::synchronise() {
    return fsync(descriptor_.number()) == 0 ? 0 : errno;
}

} // namespace talkledger
