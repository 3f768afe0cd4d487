#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace talkledger {

/// Tells in a stream of 16 kHz samples, frame by frame, how probable it is that somebody speaks. Used by one thread.
class SpeechDetector {
public:
    static constexpr std::size_t frameLength = 512; ///< samples, 32 ms

    /// From which probability on speech begins, and down to which it goes on.
    static constexpr float beginning = 0.5F;
    static constexpr float continuing = 0.35F;

    SpeechDetector() = default;
    SpeechDetector(const SpeechDetector&) = delete;
    SpeechDetector& operator=(const SpeechDetector&) = delete;
    virtual ~SpeechDetector() = default;

    /// A new stream.
    virtual void reset() = 0;

    /// Of the stream up to the end of this frame, which has `frameLength` samples.
    virtual float probability(std::span<const float> frame) = 0;

    /// How far the answer may lag behind the speech, seconds.
    virtual double lag() const = 0;
};

} // namespace talkledger
