#include "TalkledgerPlatform/Audio/SoundServerAuthorization.h"

#include "TalkledgerPlatform/Audio/PipeWireConnection.h"

#include <cerrno>
#include <system_error>

namespace talkledger {

AuthorizationStatus SoundServerAuthorization::microphoneStatus() const {
    try {
        PipeWireConnection connection;
        const PipeWireConnection::Lock lock(connection);
        const int error = connection.connect();
        return error == EACCES || error == EPERM ? AuthorizationStatus::denied : AuthorizationStatus::authorized;
    } catch (const std::system_error&) {
        return AuthorizationStatus::authorized; // not even PipeWire's own files: nothing there refuses us
    }
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
