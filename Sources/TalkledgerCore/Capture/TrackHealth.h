#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <string>
#include <vector>

namespace talkledger {

/// What a track is doing, in the one word that is shown. A failing file outweighs a missing device: what is captured
/// is being lost.
enum class TrackCondition { running, waitingForDevice, writeFailed };

/// What the device side and the file side of both tracks have reported since the recording began.
class TrackHealth {
public:
    void apply(AudioChannel channel, TrackHealthEvent event);

    TrackCondition condition(AudioChannel channel) const;

    /// What the recording lacks for it so far, in English as all messages of a recording are.
    std::vector<std::string> messages(AudioChannel channel) const;

    bool operator==(const TrackHealth&) const = default;

private:
    struct Track {
        bool waitsForDevice{false};
        bool failsToWrite{false};
        bool hasWaitedForDevice{false};
        bool hasFailedToWrite{false};

        bool operator==(const Track&) const = default;
    };

    Track& track(AudioChannel channel) { return channel == AudioChannel::mic ? mic_ : speaker_; }

    const Track& track(AudioChannel channel) const { return channel == AudioChannel::mic ? mic_ : speaker_; }

    Track mic_;
    Track speaker_;
};

} // namespace talkledger
