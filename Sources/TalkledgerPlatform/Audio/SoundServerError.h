#pragma once

#include <stdexcept>
#include <string>

namespace talkledger {

/// Why the sound server gives us nothing to capture; `what()` is the user-visible description.
class SoundServerError : public std::runtime_error {
public:
    enum class Case { unreachable, notAnswering, noMicrophone, noOutput, captureFailed };

    /// `message` says what the system said, for `unreachable` and `captureFailed`.
    explicit SoundServerError(Case errorCase, const std::string& message = {})
        : std::runtime_error(description(errorCase, message)), case_(errorCase), message_(message) {}

    Case errorCase() const { return case_; }

    bool operator==(const SoundServerError& other) const { return case_ == other.case_ && message_ == other.message_; }

private:
    static std::string description(Case errorCase, const std::string& message) {
        switch (errorCase) {
        case Case::unreachable:
            return "The sound server cannot be reached (" + message + "). Check that PipeWire is running.";
        case Case::notAnswering:
            return "The sound server does not answer. Restart PipeWire and its session manager.";
        case Case::noMicrophone:
            return "No microphone is connected.";
        case Case::noOutput:
            return "No sound output is connected.";
        case Case::captureFailed:
            return "The sound server did not start the capture: " + message;
        }
        return message;
    }

    Case case_;
    std::string message_;
};

} // namespace talkledger
