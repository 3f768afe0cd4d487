#include "TalkledgerPlatform/Audio/SoundServerAuthorization.h"

#include "TalkledgerPlatform/Audio/PipeWireConnection.h"

#include <cerrno>

namespace talkledger {

AuthorizationStatus SoundServerAuthorization::microphoneStatus() const {
    PipeWireConnection connection;
    const PipeWireConnection::Lock lock(connection);
    const int error = connection.connect();
    return error == EACCES || error == EPERM ? AuthorizationStatus::denied : AuthorizationStatus::authorized;
}

void SoundServerAuthorization::requestMicrophoneAccess(std::function<void(bool granted)> answer) {
    answer(microphoneStatus() == AuthorizationStatus::authorized);
}

bool SoundServerAuthorization::preflightScreenCaptureAccess() const {
    return microphoneStatus() == AuthorizationStatus::authorized;
}

bool SoundServerAuthorization::requestScreenCaptureAccess() {
    return preflightScreenCaptureAccess();
}

} // namespace talkledger
