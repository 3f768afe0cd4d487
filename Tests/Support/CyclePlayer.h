#pragma once

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <semaphore>
#include <string>
#include <vector>

namespace talkledger::testing {

/// One channel that is played, and the input ports ("node:port") that hear it.
struct PlayedChannel {
    std::vector<float> samples;
    std::vector<std::string> targets;
};

/// Plays channels of one length in the sound session that this process has entered. They are ports of one node without
/// any conversion: frames of the same number are played in the same cycle and arrive bit for bit. Throws
/// std::runtime_error.
class CyclePlayer {
public:
    /// Links its ports; returns when it has done so. Silence is played until `play`.
    CyclePlayer(std::string nodeName, std::vector<PlayedChannel> channels);
    ~CyclePlayer();
    CyclePlayer(const CyclePlayer&) = delete;
    CyclePlayer& operator=(const CyclePlayer&) = delete;

    void play();

    /// Returns when the last frame has been handed to the sound server.
    void waitUntilPlayed(std::chrono::milliseconds patience);

    /// The time of the cycle in which the first frame was played; once all has been played.
    std::chrono::steady_clock::time_point beginning() const { return beginning_; }

    /// The sound server went on without the player in between, as it must when a player is late: a hole was played.
    /// Once all has been played.
    bool hasMissedACycle() const { return hasMissedACycle_; }

private:
    struct LoopDeleter {
        void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    };

    struct ContextDeleter {
        void operator()(pw_context* context) const { pw_context_destroy(context); }
    };

    struct FilterDeleter {
        void operator()(pw_filter* filter) const { pw_filter_destroy(filter); }
    };

    struct Port {
        PlayedChannel channel;
        void* handle{nullptr};
        float* buffer{nullptr}; ///< this cycle's
    };

    void connect();
    void playCycle(const spa_io_clock& clock);

    std::string nodeName_;
    std::vector<Port> ports_;
    std::size_t frameCount_{0};
    std::unique_ptr<pw_thread_loop, LoopDeleter> loop_;
    std::unique_ptr<pw_context, ContextDeleter> context_;
    spa_hook listener_{};
    std::unique_ptr<pw_filter, FilterDeleter> filter_;
    std::string failure_;            ///< guarded by the loop's lock
    std::atomic<bool> plays_{false}; ///< set once, read on the realtime thread
    std::binary_semaphore played_{0};

    // The realtime thread's own until all has been played.
    std::size_t framesPlayed_{0};
    std::uint64_t nextPosition_{0}; ///< of the driver's clock, if no cycle is missed
    std::chrono::steady_clock::time_point beginning_;
    bool hasMissedACycle_{false};
};

} // namespace talkledger::testing
