#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace talkledger::testing {

/// What was called on one or more fakes, in order. Any thread may write to it.
class CallLog {
public:
    void add(std::string call) {
        const std::lock_guard guard(lock_);
        calls_.push_back(std::move(call));
    }

    std::vector<std::string> calls() const {
        const std::lock_guard guard(lock_);
        return calls_;
    }

private:
    mutable std::mutex lock_;
    std::vector<std::string> calls_;
};

} // namespace talkledger::testing
