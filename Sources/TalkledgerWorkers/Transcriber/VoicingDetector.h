#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace talkledger {

/// Tells where in a stream of 16 kHz samples a voice can be: passages with the periodicity of vocal cords, 70 to 400
/// Hz. Noise, clicks and bursts have none, however loud they are. Music and tones have it, too: being voiced is
/// necessary for speech, not sufficient.
class VoicingDetector {
public:
    static constexpr int framesPerSecond = 100;

    /// A new stream from time 0.
    void reset();

    void append(std::span<const std::int16_t> samples);

    /// The frames that are voiced between two times, in frames from the beginning of the stream.
    int voicedFrames(std::int64_t first, std::int64_t last) const;

    /// The period of the voice in the last of the voiced frames between two times, in samples at 8 kHz; 0 without one.
    int period(std::int64_t first, std::int64_t last) const;

    /// Frees what is known of the frames before `first`.
    void forget(std::int64_t first);

private:
    static int period(std::span<const float> window);

    std::vector<float> pending_; ///< from the beginning of the next frame on, at half the rate
    float previous_{0};          ///< of the halved rate, for the difference
    int carried_{0};             ///< the first sample of a pair, when the samples end in its middle
    bool isCarrying_{false};
    std::deque<int> periods_; ///< of the frames from `firstKnown_` on; 0 for one without a voice
    std::int64_t firstKnown_{0};
};

} // namespace talkledger
