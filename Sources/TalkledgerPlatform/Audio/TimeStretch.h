#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace soundtouch {
class SoundTouch;
} // namespace soundtouch

namespace talkledger {

/// Stereo sound faster or slower at its own pitch. Used by one thread at a time.
class TimeStretch {
public:
    /// Fills left and right in turn; how many frames there were, fewer than asked for only at the end.
    using Source = std::function<std::size_t(std::span<float>)>;

    /// `sampleRate` is in hertz; `speed` is 0.5 to 2, and at 1 the sound passes as it is.
    TimeStretch(std::uint32_t sampleRate, double speed, Source source);
    ~TimeStretch();
    TimeStretch(const TimeStretch&) = delete;
    TimeStretch& operator=(const TimeStretch&) = delete;

    /// As a source.
    std::size_t read(std::span<float> interleaved);

private:
    void feed();

    Source source_;
    std::unique_ptr<soundtouch::SoundTouch> stretcher_; ///< absent at speed 1
    std::vector<float> input_;
    bool hasEnded_{false};
};

} // namespace talkledger
