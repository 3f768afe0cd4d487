#include "TalkledgerCore/Capture/TrackSilence.h"

#include <algorithm>

namespace talkledger {

void TrackSilence::hear(AudioChannel channel, double level, MonotonicTime at) {
    LastHeard& lastHeard = channel == AudioChannel::mic ? mic_ : speaker_;
    if (!lastHeard || level >= faintestSound) {
        lastHeard = at;
    }
    latest_ = std::max(latest_, at);
}

std::chrono::seconds TrackSilence::duration(AudioChannel channel) const {
    const LastHeard& lastHeard = channel == AudioChannel::mic ? mic_ : speaker_;
    return lastHeard ? std::chrono::duration_cast<std::chrono::seconds>(latest_ - *lastHeard) : std::chrono::seconds(0);
}

} // namespace talkledger
