#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <optional>
#include <utility>

namespace talkledger {

/// Publishes whether a track's file takes samples, each change once. Used by one thread at a time.
class WriteHealth {
public:
    WriteHealth(AudioChannel channel, TrackHealthHandler handler) : channel_(channel), handler_(std::move(handler)) {}

    void publish(bool isWritten) {
        const auto event = isWritten ? TrackHealthEvent::fileWritten : TrackHealthEvent::writeFailed;
        if (published_ != event) {
            published_ = event;
            if (handler_) {
                handler_(channel_, event);
            }
        }
    }

private:
    AudioChannel channel_;
    TrackHealthHandler handler_;
    std::optional<TrackHealthEvent> published_;
};

} // namespace talkledger
