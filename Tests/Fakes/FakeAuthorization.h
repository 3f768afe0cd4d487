#pragma once

#include "TalkledgerCore/Ports/Authorization.h"

#include <functional>
#include <utility>

namespace talkledger::testing {

class FakeAuthorization final : public Authorization {
public:
    AuthorizationStatus status{AuthorizationStatus::authorized};
    bool screenCaptureIsGranted{true};
    int promptCount{0};
    std::function<void(bool)> answer; ///< of the last prompt, for the test to call

    AuthorizationStatus microphoneStatus() const override { return status; }

    void requestMicrophoneAccess(std::function<void(bool granted)> promptAnswer) override {
        ++promptCount;
        answer = std::move(promptAnswer);
    }

    bool preflightScreenCaptureAccess() const override { return screenCaptureIsGranted; }

    bool requestScreenCaptureAccess() override { return screenCaptureIsGranted; }
};

} // namespace talkledger::testing
