#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace talkledger::testing {

/// A small web host on this machine that answers as a test wants. One connection at a time, one answer to each.
class LoopbackHost {
public:
    /// The whole answer to a request, its head included; what is missing of the length that it declares is a connection
    /// broken off. Called on the host's thread.
    using Answer = std::function<std::string(const std::string& request)>;

    explicit LoopbackHost(Answer answer);
    ~LoopbackHost();
    LoopbackHost(const LoopbackHost&) = delete;
    LoopbackHost& operator=(const LoopbackHost&) = delete;

    std::string address(const std::string& path) const;

    /// Their heads, in order.
    std::vector<std::string> requests() const;

private:
    void serve();

    Answer answer_;
    int listener_;
    int port_{0};
    std::atomic<bool> isEnding_{false};
    mutable std::mutex lock_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

} // namespace talkledger::testing
