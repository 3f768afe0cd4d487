#pragma once

#include "TalkledgerCore/Ports/Playback.h"

#include <memory>

namespace talkledger {

/// Playback through PipeWire, as a stream of this process's own: a recording of the system audio leaves it out. The
/// sound server is asked for nothing before the first request.
class PipeWirePlayback : public Playback {
public:
    PipeWirePlayback();
    ~PipeWirePlayback() override;
    PipeWirePlayback(const PipeWirePlayback&) = delete;
    PipeWirePlayback& operator=(const PipeWirePlayback&) = delete;

    void setEventHandler(EventHandler handler) override;
    std::uint64_t play(PlaybackRequest request) override;
    void stop() override;
    double position() const override;

private:
    class Stream;
    EventHandler handler_;
    std::uint64_t lastRequest_{0};
    std::unique_ptr<Stream> stream_;
};

} // namespace talkledger
