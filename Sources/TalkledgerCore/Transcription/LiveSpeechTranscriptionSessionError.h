#pragma once

#include <stdexcept>
#include <string>

namespace talkledger {

/// Why live speech cannot be transcribed.
class LiveSpeechTranscriptionSessionError : public std::runtime_error {
public:
    enum class Case {
        localeUnsupported,
        assetsUnavailable,
        audioConversionFailed,
        speechUnavailable,
        audioFormatUnavailable,
    };

    /// `detail` is the locale's identifier of `localeUnsupported` and `assetsUnavailable`, and the cause in words of
    /// `audioConversionFailed`.
    explicit LiveSpeechTranscriptionSessionError(Case failure, std::string detail = {});

    Case failure() const { return failure_; }

    const std::string& detail() const { return detail_; }

    bool operator==(const LiveSpeechTranscriptionSessionError& other) const {
        return failure_ == other.failure_ && detail_ == other.detail_;
    }

private:
    Case failure_;
    std::string detail_;
};

} // namespace talkledger
