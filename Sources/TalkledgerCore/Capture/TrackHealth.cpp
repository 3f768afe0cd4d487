#include "TalkledgerCore/Capture/TrackHealth.h"

namespace talkledger {

void TrackHealth::apply(AudioChannel channel, TrackHealthEvent event) {
    Track& track = channel == AudioChannel::mic ? mic_ : speaker_;
    switch (event) {
    case TrackHealthEvent::deviceRunning:
        track.waitsForDevice = false;
        break;
    case TrackHealthEvent::waitingForDevice:
        track.waitsForDevice = true;
        break;
    case TrackHealthEvent::fileWritten:
        track.failsToWrite = false;
        break;
    case TrackHealthEvent::writeFailed:
        track.failsToWrite = true;
        break;
    }
}

TrackCondition TrackHealth::condition(AudioChannel channel) const {
    const Track& track = channel == AudioChannel::mic ? mic_ : speaker_;
    if (track.failsToWrite) {
        return TrackCondition::writeFailed;
    }
    return track.waitsForDevice ? TrackCondition::waitingForDevice : TrackCondition::running;
}

} // namespace talkledger
