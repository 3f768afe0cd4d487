#pragma once

#include <functional>

namespace talkledger {

/// The platform's answer about the microphone. Values outside the named ones are possible and mean: not usable.
enum class AuthorizationStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// What the operating system lets this program capture.
class Authorization {
public:
    Authorization() = default;
    Authorization(const Authorization&) = delete;
    Authorization& operator=(const Authorization&) = delete;
    virtual ~Authorization() = default;

    /// Never prompts.
    virtual AuthorizationStatus microphoneStatus() const = 0;

    /// Prompts. `answer` is called at most once, on any thread, perhaps never.
    virtual void requestMicrophoneAccess(std::function<void(bool granted)> answer) = 0;

    /// Never prompts.
    virtual bool preflightScreenCaptureAccess() const = 0;

    /// Prompts where the platform does.
    virtual bool requestScreenCaptureAccess() = 0;
};

} // namespace talkledger
