#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <span>

namespace talkledger {

/// Loudness from 0 to 1: the plain root mean square of full-scale samples, neither in decibels nor smoothed. What is
/// not finite counts as silence.
class AudioLevelMeter {
public:
    AudioLevelMeter() = delete;

    static double normalizedLevel(std::span<const float> samples);
    static double normalizedLevel(double rootMeanSquare);

    /// Over all channels. Silence for a buffer that is empty, holds no float samples or fewer than it claims.
    static double normalizedLevel(const AudioBuffer& buffer);
};

} // namespace talkledger
