#include "Fakes/FakeDisk.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

namespace {

std::atomic<talkledger::testing::FakeDisk*> disk{nullptr};

} // namespace

/// The program's own one takes the place of the C library's.
extern "C" int fdatasync(int descriptor) {
    talkledger::testing::FakeDisk* const fake = disk;
    if (fake == nullptr) {
        return static_cast<int>(syscall(SYS_fdatasync, descriptor));
    }
    errno = fake->sync();
    return errno == 0 ? 0 : -1;
}

namespace talkledger::testing {

FakeDisk::FakeDisk() {
    disk = this;
}

FakeDisk::~FakeDisk() {
    disk = nullptr;
}

void FakeDisk::hold() {
    const std::lock_guard guard(lock_);
    isHeld_ = true;
}

void FakeDisk::letGo() {
    const std::lock_guard guard(lock_);
    isHeld_ = false;
    changed_.notify_all();
}

void FakeDisk::failWith(int error) {
    const std::lock_guard guard(lock_);
    error_ = error;
}

void FakeDisk::waitForSyncs(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return begun_ >= count; });
}

int FakeDisk::syncs() const {
    const std::lock_guard guard(lock_);
    return begun_;
}

int FakeDisk::mostAtOnce() const {
    const std::lock_guard guard(lock_);
    return mostAtOnce_;
}

int FakeDisk::sync() {
    std::unique_lock guard(lock_);
    ++begun_;
    mostAtOnce_ = std::max(mostAtOnce_, ++running_);
    changed_.notify_all();
    changed_.wait(guard, [&] { return !isHeld_; });
    --running_;
    return error_;
}

} // namespace talkledger::testing
