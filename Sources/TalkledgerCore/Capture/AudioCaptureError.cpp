#include "TalkledgerCore/Capture/AudioCaptureError.h"

#include <utility>

namespace talkledger {

namespace {

std::string description(AudioCaptureError::Case failure, const std::string& message) {
    switch (failure) {
    case AudioCaptureError::Case::writerFailed:
        return "The audio writer failed: " + message;
    case AudioCaptureError::Case::systemAudioUnavailable:
        return "System audio capture is unavailable: " + message;
    case AudioCaptureError::Case::microphonePermissionDenied:
        return "Microphone permission was denied.";
    case AudioCaptureError::Case::microphonePermissionTimedOut:
        return "Microphone permission was not answered.";
    case AudioCaptureError::Case::microphoneFormatUnavailable:
        return "The default microphone audio format is unavailable.";
    case AudioCaptureError::Case::noShareableDisplay:
        return "No display is available for system audio capture.";
    case AudioCaptureError::Case::writerInputRejected:
        return "The audio writer rejected the configured input.";
    }
    return message;
}

} // namespace

AudioCaptureError::AudioCaptureError(Case failure, std::string message)
    : std::runtime_error(description(failure, message)), failure_(failure), message_(std::move(message)) {}

} // namespace talkledger
