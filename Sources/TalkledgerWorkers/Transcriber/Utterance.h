#pragma once

#include <cstdint>
#include <vector>

namespace talkledger {

/// A passage of a stream in which somebody speaks.
struct Utterance {
    std::int64_t start{0};      ///< of its first sample, samples of the stream
    std::vector<float> samples; ///< at 16 kHz
    std::int64_t spoken{0};     ///< its samples without the margins around

    bool operator==(const Utterance&) const = default;
};

} // namespace talkledger
