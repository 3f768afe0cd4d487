#pragma once

#include <chrono>

namespace talkledger {

/// What a timer is set to for so many seconds: no time for what is below zero or not a number, the longest that the
/// clock knows (292 years) for what lies beyond it.
inline std::chrono::steady_clock::duration timerDuration(std::chrono::duration<double> seconds) {
    using Duration = std::chrono::steady_clock::duration;
    if (!(seconds.count() > 0)) {
        return Duration::zero();
    }
    return seconds < std::chrono::duration<double>(Duration::max()) ? std::chrono::duration_cast<Duration>(seconds)
                                                                    : Duration::max();
}

} // namespace talkledger
