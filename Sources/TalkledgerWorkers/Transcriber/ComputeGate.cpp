#include "TalkledgerWorkers/Transcriber/ComputeGate.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace talkledger {

ComputeGate::Turn::Turn(ComputeGate& gate, ComputeUrgency urgency, int threads)
    : gate_(&gate), urgency_(urgency), threads_(threads) {}

ComputeGate::Turn::Turn(Turn&& other) noexcept
    : gate_(std::exchange(other.gate_, nullptr)), urgency_(other.urgency_), threads_(other.threads_) {}

ComputeGate::Turn::~Turn() {
    if (gate_ == nullptr) {
        return;
    }
    const std::lock_guard lock(gate_->mutex_);
    --gate_->running_;
    gate_->changed_.notify_all();
}

bool ComputeGate::Turn::shouldGiveWay() const {
    const std::lock_guard lock(gate_->mutex_);
    return urgency_ == ComputeUrgency::hypothesis && (gate_->waitingCount() > 0 || gate_->running_ > 1);
}

ComputeGate::ComputeGate(int cores, int turns) : turns_(turns), threadsOfATurn_(std::max(1, cores / turns)) {}

std::optional<ComputeGate::Turn> ComputeGate::enter(ComputeUrgency urgency, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    ++waiting_[static_cast<std::size_t>(urgency)];
    const bool mayEnter = changed_.wait(lock, stop, [&] { return running_ < turns_ && isFirst(urgency); });
    --waiting_[static_cast<std::size_t>(urgency)];
    changed_.notify_all();
    if (!mayEnter) {
        return std::nullopt;
    }
    ++running_;
    return std::optional<Turn>(std::in_place, *this, urgency, threadsOfATurn_);
}

std::optional<ComputeGate::Turn> ComputeGate::tryHypothesis() {
    const std::lock_guard lock(mutex_);
    if (running_ > 0 || waitingCount() > 0) {
        return std::nullopt;
    }
    ++running_;
    return std::optional<Turn>(std::in_place, *this, ComputeUrgency::hypothesis, threadsOfATurn_);
}

/// Whether nothing more urgent waits.
bool ComputeGate::isFirst(ComputeUrgency urgency) const {
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(urgency);
    return std::all_of(waiting_.begin(), end, [](int count) { return count == 0; });
}

int ComputeGate::waitingCount() const {
    return std::accumulate(waiting_.begin(), waiting_.end(), 0);
}

} // namespace talkledger
