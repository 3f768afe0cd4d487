#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Support/Task.h"

#include <functional>
#include <memory>

namespace talkledger {

/// Lets the user see whether sound arrives from the microphone and from what the computer plays, this program included.
/// Nothing of it is kept. What cannot be listened to now is tried again by itself. Main executor; what may wait for the
/// sound server runs in the background.
class SoundCheck {
public:
    enum class State {
        silent, ///< nothing has been heard yet
        heard,
        failed, ///< there is nothing to listen to
    };

    /// A level or a state has changed.
    using ChangeHandler = std::function<void()>;

    /// The ports have to outlive it.
    SoundCheck(AudioInput& audioInput, SystemAudio& systemAudio, Executor main, Executor background,
               ChangeHandler changed);
    ~SoundCheck();
    SoundCheck(const SoundCheck&) = delete;
    SoundCheck& operator=(const SoundCheck&) = delete;

    void start();

    /// Lets go of both devices.
    void stop();

    bool isRunning() const { return microphone_ != nullptr; }

    State state(AudioChannel channel) const;

    /// 0 to 1; 0 while it is stopped.
    double level(AudioChannel channel) const;

private:
    class Listener;

    const std::shared_ptr<Listener>& listener(AudioChannel channel) const;

    AudioInput& audioInput_;
    SystemAudio& systemAudio_;
    const Executor main_;
    const Executor background_;
    const ChangeHandler changed_;
    std::shared_ptr<Listener> microphone_; ///< null while it is stopped, as is the other
    std::shared_ptr<Listener> speaker_;
};

} // namespace talkledger
