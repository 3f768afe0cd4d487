#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <memory>

namespace talkledger {

/// The default microphone through PipeWire. The track's format is fixed at its start: another device is converted to
/// it. What blocks runs on `blockingExecutor`, at most five seconds; the caller is resumed on its own executor.
/// Failures are SoundServerError.
class PipeWireAudioInput : public AudioInput {
public:
    /// `health` is called on the capture's delivery thread.
    PipeWireAudioInput(Executor blockingExecutor, TrackHealthHandler health);

    std::unique_ptr<AudioInputEngine> makeEngine() override;

private:
    Executor blockingExecutor_;
    TrackHealthHandler health_;
};

} // namespace talkledger
