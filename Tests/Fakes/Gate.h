#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/steady_timer.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace talkledger::testing {

/// Where a fake's operation waits until the test lets it go on. Open at first; used by one thread.
class Gate {
public:
    void close() { isOpen_ = false; }

    void open();

    /// How many operations wait here.
    std::size_t waitingCount() const { return waiting_.size(); }

    /// How many operations were cancelled while they waited.
    int cancelledCount() const { return cancelledCount_; }

    /// Throws when the waiting operation is cancelled.
    Task<> pass();

private:
    bool isOpen_{true};
    int cancelledCount_{0};
    std::vector<boost::asio::steady_timer*> waiting_;
};

inline void throwIfSet(const std::optional<std::string>& failure) {
    if (failure) {
        throw std::runtime_error(*failure);
    }
}

} // namespace talkledger::testing
