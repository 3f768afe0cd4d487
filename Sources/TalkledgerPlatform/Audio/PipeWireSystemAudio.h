#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <memory>

namespace talkledger {

/// What the computer plays, through PipeWire: the monitor of the default output, and of whatever becomes the default
/// output while it is captured. That is everything: `excludesCurrentProcessAudio` has no effect yet (this program makes
/// no sound of its own). The shareable content is that one output, or nothing. A stream outlasts every fault, so it
/// never reports that it stopped. What blocks runs on `blockingExecutor`, at most five seconds; the caller is resumed
/// on its own executor. Failures are SoundServerError.
class PipeWireSystemAudio : public SystemAudio {
public:
    /// `health` is called on the stream's sample queue.
    PipeWireSystemAudio(Executor blockingExecutor, TrackHealthHandler health);

    Task<ShareableContent> shareableContent() override;
    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const CaptureStreamConfiguration& configuration) override;

private:
    Executor blockingExecutor_;
    TrackHealthHandler health_;
};

} // namespace talkledger
