#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <stop_token>

namespace talkledger {

/// What may wait for what, the most urgent first.
enum class ComputeUrgency {
    liveFinal, ///< somebody has just said it
    file,
    hypothesis ///< runs only when nothing else does, and gives way
};

/// Shares the processor's cores out among those who recognise at the same time. Called on any thread.
class ComputeGate {
public:
    /// The right to compute, until its end.
    class Turn {
    public:
        Turn(ComputeGate& gate, ComputeUrgency urgency, int threads);
        Turn(Turn&& other) noexcept;
        Turn& operator=(Turn&&) = delete;
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

        int threads() const { return threads_; }

        /// Something more urgent waits: a hypothesis is to be given up.
        bool shouldGiveWay() const;

    private:
        ComputeGate* gate_;
        ComputeUrgency urgency_;
        int threads_;
    };

    /// So many compute at once, on so many cores altogether. One alone gets no more than its share: the engine's
    /// threads wait for each other all the time, and stand still when a call or a capture takes a core from one of
    /// them.
    ComputeGate(int cores, int turns);

    /// Waits for a turn; absent after a stop request.
    std::optional<Turn> enter(ComputeUrgency urgency, const std::stop_token& stop);

    /// A turn for a hypothesis, if nothing computes or waits.
    std::optional<Turn> tryHypothesis();

private:
    bool isFirst(ComputeUrgency urgency) const;
    int waitingCount() const;

    const int turns_;
    const int threadsOfATurn_;
    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    std::array<int, 3> waiting_{}; ///< by urgency
    int running_{0};
};

} // namespace talkledger
