#pragma once

#include <cstddef>
#include <vector>

namespace talkledger::rehearsal {

/// Frames per second of everything that is played and compared here.
inline constexpr int kFrameRate = 48000;

/// One channel.
using Samples = std::vector<float>;

/// The sound that stands in both tracks at once, at the beginning and at the end of what is played: a sweep, which has
/// one sharp correlation peak and no likeness to a word.
Samples synchronizationSound();

/// What is played into both sources; its tracks have the same length.
struct Performance {
    Samples output;     ///< the customer, as the computer plays him; left and right alike
    Samples microphone; ///< the salesperson, and part of the customer's speech from the loudspeakers
    /// From the first synchronisation sound to the end of the last one; there is silence around it.
    std::size_t passageBegin{0};
    std::size_t passageEnd{0};
};

struct SpokenUtterance {
    bool isCustomer{false};
    Samples samples;
};

/// Puts the utterances one after the other.
Performance perform(const std::vector<SpokenUtterance>& utterances);

} // namespace talkledger::rehearsal
