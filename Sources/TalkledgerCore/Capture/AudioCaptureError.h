#pragma once

#include <stdexcept>
#include <string>

namespace talkledger {

/// Why a capture track failed.
class AudioCaptureError : public std::runtime_error {
public:
    enum class Case {
        writerFailed,
        systemAudioUnavailable,
        microphonePermissionDenied,
        microphonePermissionTimedOut,
        microphoneFormatUnavailable,
        noShareableDisplay,
        writerInputRejected,
    };

    /// `message` is the cause in words, of the cases `writerFailed` and `systemAudioUnavailable`.
    explicit AudioCaptureError(Case failure, std::string message = {});

    Case failure() const { return failure_; }

    const std::string& message() const { return message_; }

    bool operator==(const AudioCaptureError& other) const {
        return failure_ == other.failure_ && message_ == other.message_;
    }

private:
    Case failure_;
    std::string message_;
};

} // namespace talkledger
