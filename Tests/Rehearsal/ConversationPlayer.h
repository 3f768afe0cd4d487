#pragma once

#include "Rehearsal/Performance.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <semaphore>
#include <string>

namespace talkledger::rehearsal {

/// Plays a performance in the sound session that this process has entered: its output track into an output, its
/// microphone track into a virtual microphone. Both are ports of one node without any conversion, so that frames of the
/// same number are played in the same cycle and arrive bit for bit. Throws RehearsalError.
class ConversationPlayer {
public:
    /// Links to the nodes of these names; returns when it has done so. Silence is played until `play`.
    ConversationPlayer(Performance performance, const std::string& outputNode, const std::string& microphoneNode);
    ~ConversationPlayer();
    ConversationPlayer(const ConversationPlayer&) = delete;
    ConversationPlayer& operator=(const ConversationPlayer&) = delete;

    void play();

    /// Returns when the last frame has been handed to the sound server.
    void waitUntilPlayed(std::chrono::seconds patience);

private:
    static constexpr std::size_t kPortCount = 3; ///< output left and right, microphone

    struct LoopDeleter {
        void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    };

    struct ContextDeleter {
        void operator()(pw_context* context) const { pw_context_destroy(context); }
    };

    struct FilterDeleter {
        void operator()(pw_filter* filter) const { pw_filter_destroy(filter); }
    };

    void connect();
    void playCycle(std::size_t frameCount);

    Performance performance_;
    std::unique_ptr<pw_thread_loop, LoopDeleter> loop_;
    std::unique_ptr<pw_context, ContextDeleter> context_;
    spa_hook listener_{};
    std::unique_ptr<pw_filter, FilterDeleter> filter_;
    std::array<void*, kPortCount> ports_{};
    std::string failure_;            ///< guarded by the loop's lock
    std::atomic<bool> plays_{false}; ///< set once, read on the realtime thread
    std::binary_semaphore played_{0};
    std::size_t position_{0}; ///< in frames; the realtime thread's own
};

} // namespace talkledger::rehearsal
