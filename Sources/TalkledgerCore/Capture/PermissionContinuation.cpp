#include "TalkledgerCore/Capture/PermissionContinuation.h"

#include <utility>

namespace talkledger {

PermissionContinuation::PermissionContinuation(Completion continuation) : continuation_(std::move(continuation)) {}

void PermissionContinuation::resume(bool granted) {
    complete(nullptr, granted);
}

void PermissionContinuation::fail(const std::exception_ptr& failure) {
    complete(failure, false);
}

void PermissionContinuation::complete(const std::exception_ptr& failure, bool granted) {
    Completion continuation;
    {
        const std::lock_guard guard(lock_);
        if (std::exchange(didResume_, true)) {
            return;
        }
        continuation = std::exchange(continuation_, nullptr);
    }
    continuation(failure, granted);
}

} // namespace talkledger
