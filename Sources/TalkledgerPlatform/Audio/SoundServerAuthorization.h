#pragma once

#include "TalkledgerCore/Ports/Authorization.h"

namespace talkledger {

/// Permissions on a desktop where whoever reaches the sound server may record: everything is authorized unless the
/// server's socket refuses us. Having no microphone, no server or not even PipeWire's files is no matter of permission.
/// Nothing prompts, so a request is answered before it returns. Any thread; each call takes some milliseconds and waits
/// for nobody.
class SoundServerAuthorization : public Authorization {
public:
    AuthorizationStatus microphoneStatus() const override;
    void requestMicrophoneAccess(std::function<void(bool granted)> answer) override;
    bool preflightScreenCaptureAccess() const override;
    bool requestScreenCaptureAccess() override;
};

} // namespace talkledger
