#include "TalkledgerCore/Capture/TrackHealth.h"

namespace talkledger {

void TrackHealth::apply(AudioChannel channel, TrackHealthEvent event) {
    Track& changed = track(channel);
    switch (event) {
    case TrackHealthEvent::deviceRunning:
        changed.waitsForDevice = false;
        break;
    case TrackHealthEvent::waitingForDevice:
        changed.waitsForDevice = true;
        changed.hasWaitedForDevice = true;
        break;
    case TrackHealthEvent::fileWritten:
        changed.failsToWrite = false;
        break;
    case TrackHealthEvent::writeFailed:
        changed.failsToWrite = true;
        changed.hasFailedToWrite = true;
        break;
    }
}

TrackCondition TrackHealth::condition(AudioChannel channel) const {
    const Track& asked = track(channel);
    if (asked.failsToWrite) {
        return TrackCondition::writeFailed;
    }
    return asked.waitsForDevice ? TrackCondition::waitingForDevice : TrackCondition::running;
}

std::vector<std::string> TrackHealth::messages(AudioChannel channel) const {
    const bool isMicrophone = channel == AudioChannel::mic;
    std::vector<std::string> messages;
    if (track(channel).hasWaitedForDevice) {
        messages.emplace_back(isMicrophone
                                  ? "The microphone was not available for a time. Its track is silent there."
                                  : "The system audio was not available for a time. Its track is silent there.");
    }
    if (track(channel).hasFailedToWrite) {
        messages.emplace_back(isMicrophone ? "Some of the microphone's sound could not be saved."
                                           : "Some of the system audio could not be saved.");
    }
    return messages;
}

} // namespace talkledger
