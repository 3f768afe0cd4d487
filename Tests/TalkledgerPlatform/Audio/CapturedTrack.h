#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace talkledger::testing {

/// What a capture delivered, watched while it grows. Any thread.
class CapturedTrack {
public:
    void append(const AudioBuffer& buffer) {
        const std::lock_guard lock(mutex_);
        if (samples_.empty()) {
            begin_ = buffer.time;
            format_ = buffer.format;
        }
        const std::chrono::duration<double> place = buffer.time - begin_;
        const double expected = static_cast<double>(frameCount()) / format_.sampleRate;
        largestError_ = std::max(largestError_, std::abs(place.count() - expected));
        const auto samples = buffer.floatSamples();
        samples_.insert(samples_.end(), samples.begin(), samples.end());
        changed_.notify_all();
    }

    void note(TrackHealthEvent event) {
        const std::lock_guard lock(mutex_);
        health_.push_back(event);
        changed_.notify_all();
    }

    /// Waits for an event, not for a time: the patience only ends a test that has failed.
    template <typename Predicate>
    bool waitUntil(Predicate holds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(40), holds);
    }

    bool waitForSeconds(double seconds) {
        return waitUntil(
            [&] { return frameCount() > 0 && static_cast<double>(frameCount()) >= seconds * format_.sampleRate; });
    }

    bool waitForHealth(const std::vector<TrackHealthEvent>& events) {
        return waitUntil([&] { return health_.size() >= events.size(); }) && health() == events;
    }

    /// The time at which `passage` (samples of all channels) stands whole; absent when it does not yet.
    std::optional<MonotonicTime> find(std::span<const float> passage, float tolerance = 0) {
        const std::lock_guard lock(mutex_);
        const auto place =
            std::search(samples_.begin(), samples_.end(), passage.begin(), passage.end(),
                        [&](float sample, float wanted) { return std::abs(sample - wanted) <= tolerance; });
        if (place == samples_.end()) {
            return std::nullopt;
        }
        return timeOf(static_cast<std::size_t>(place - samples_.begin()) / format_.channelCount);
    }

    /// The length in seconds.
    double seconds() {
        const std::lock_guard lock(mutex_);
        return static_cast<double>(frameCount()) / std::max(format_.sampleRate, 1.0);
    }

    std::vector<float> samples() {
        const std::lock_guard lock(mutex_);
        return samples_;
    }

    /// The loudest sample of the last frames.
    float peakOfLast(std::size_t frames) {
        const std::lock_guard lock(mutex_);
        const std::size_t count = std::min(samples_.size(), frames * format_.channelCount);
        float peak = 0;
        for (const float sample : std::span(samples_).last(count)) {
            peak = std::max(peak, std::abs(sample));
        }
        return peak;
    }

    std::vector<TrackHealthEvent> health() {
        const std::lock_guard lock(mutex_);
        return health_;
    }

    /// The time of the first frame; the time after the last one.
    MonotonicTime begin() {
        const std::lock_guard lock(mutex_);
        return begin_;
    }

    MonotonicTime end() {
        const std::lock_guard lock(mutex_);
        return timeOf(frameCount());
    }

    /// How far, in seconds, a buffer's time was from where the frames before it end.
    double largestError() {
        const std::lock_guard lock(mutex_);
        return largestError_;
    }

private:
    std::size_t frameCount() const { return format_.channelCount == 0 ? 0 : samples_.size() / format_.channelCount; }

    MonotonicTime timeOf(std::size_t frame) const {
        const std::chrono::duration<double> place(static_cast<double>(frame) / format_.sampleRate);
        return begin_ + std::chrono::duration_cast<MonotonicTime::duration>(place);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    AudioFormat format_;
    MonotonicTime begin_; ///< once there are samples
    double largestError_{0};
    std::vector<float> samples_;
    std::vector<TrackHealthEvent> health_;
};

} // namespace talkledger::testing
