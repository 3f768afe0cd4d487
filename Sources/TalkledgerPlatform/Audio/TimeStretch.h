#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace talkledger {

/// Stereo sound faster or slower at its own pitch: short pieces of it, overlapped where they fit each other best. Used
/// by one thread at a time.
class TimeStretch {
public:
    /// Fills left and right in turn; how many frames there were, fewer than asked for only at the end.
    using Source = std::function<std::size_t(std::span<float>)>;

    /// `speed` is 0.5 to 2; at 1 the sound passes as it is.
    TimeStretch(double speed, Source source);

    /// As a source.
    std::size_t read(std::span<float> interleaved);

private:
    void makePiece();
    void require(std::size_t frames);
    std::size_t bestOffset(std::size_t from) const;

    double speed_;
    Source source_;
    std::vector<float> input_;    ///< from `inputBegin_` on; silence after the source's end
    double place_{0};             ///< in `input_`, where the next piece ought to begin, in frames
    std::size_t continuation_{0}; ///< in `input_`, where the last piece would go on
    std::vector<float> overlap_;  ///< the fading second half of the last piece
    std::vector<float> output_;
    std::size_t taken_{0};
    std::size_t framesLeft_{0}; ///< of real sound in `input_`, once the source has ended
    bool hasEnded_{false};
    bool isFirst_{true};
};

} // namespace talkledger
