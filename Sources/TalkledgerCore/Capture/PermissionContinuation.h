#pragma once

#include <exception>
#include <functional>
#include <mutex>

namespace talkledger {

/// Lets the answer to an access request race a timeout: the first to come completes the wait, every later one does
/// nothing. Any thread may call it.
class PermissionContinuation {
public:
    /// `failure` is null when there is an answer.
    using Completion = std::function<void(const std::exception_ptr& failure, bool granted)>;

    explicit PermissionContinuation(Completion continuation);
    PermissionContinuation(const PermissionContinuation&) = delete;
    PermissionContinuation& operator=(const PermissionContinuation&) = delete;
    ~PermissionContinuation() = default;

    void resume(bool granted);
    void fail(const std::exception_ptr& failure);

private:
    void complete(const std::exception_ptr& failure, bool granted);

    std::mutex lock_;
    bool didResume_{false};
    Completion continuation_;
};

} // namespace talkledger
