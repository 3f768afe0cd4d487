#pragma once

#include "TalkledgerCore/Ports/Audio.h"

namespace talkledger {

/// What a track is doing, in the one word that is shown. A failing file outweighs a missing device: what is captured
/// is being lost.
enum class TrackCondition { running, waitingForDevice, writeFailed };

/// What the device side and the file side of both tracks have last reported.
class TrackHealth {
public:
    void apply(AudioChannel channel, TrackHealthEvent event);

    TrackCondition condition(AudioChannel channel) const;

    bool operator==(const TrackHealth&) const = default;

private:
    struct Track {
        bool waitsForDevice{false};
        bool failsToWrite{false};

        bool operator==(const Track&) const = default;
    };

    Track mic_;
    Track speaker_;
};

} // namespace talkledger
