#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <chrono>
#include <optional>

namespace talkledger {

/// How long nothing has been heard on each of the tracks of the recording in progress, by the times of what they
/// deliver.
class TrackSilence {
public:
    /// A root mean square, full scale being 1: 60 dB below that, where a quiet room is and no voice.
    static constexpr double faintestSound = 0.001;

    /// What a track has delivered last.
    void hear(AudioChannel channel, double level, MonotonicTime at);

    /// Up to the latest that either track has delivered; zero for a track that has delivered nothing.
    std::chrono::seconds duration(AudioChannel channel) const;

private:
    using LastHeard = std::optional<MonotonicTime>;

    LastHeard mic_; ///< or, before it was heard at all, its beginning
    LastHeard speaker_;
    MonotonicTime latest_{MonotonicTime::min()};
};

} // namespace talkledger
