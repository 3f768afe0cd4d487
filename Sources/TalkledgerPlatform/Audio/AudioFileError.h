#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace talkledger {

/// Why an audio file could not be created, written or played; `what()` is the user-visible description.
class AudioFileError : public std::runtime_error {
public:
    enum class Case { notCreated, notWritten, removed, unsupportedFormat, encoderFailed, notPlayable };

    /// `reason` is what the system or a library said; not used by `removed` and `unsupportedFormat`.
    AudioFileError(Case errorCase, const std::filesystem::path& path, const std::string& reason = {})
        : std::runtime_error(description(errorCase, path.filename().string(), reason)),
          case_(errorCase),
          path_(path),
          reason_(reason) {}

    Case errorCase() const { return case_; }

    const std::filesystem::path& path() const { return path_; }

    bool operator==(const AudioFileError& other) const {
        return case_ == other.case_ && path_ == other.path_ && reason_ == other.reason_;
    }

private:
    static std::string description(Case errorCase, const std::string& name, const std::string& reason) {
        switch (errorCase) {
        case Case::notCreated:
            return "\"" + name + "\" could not be created: " + reason;
        case Case::notWritten:
            return "\"" + name + "\" could not be written: " + reason;
        case Case::removed:
            return "\"" + name + "\" was removed while it was recorded.";
        case Case::unsupportedFormat:
            return "\"" + name + "\" cannot keep this audio format.";
        case Case::encoderFailed:
            return "\"" + name + "\" could not be encoded: " + reason;
        case Case::notPlayable:
            return "\"" + name + "\" cannot be played: " + reason;
        }
        return reason;
    }

    Case case_;
    std::filesystem::path path_;
    std::string reason_;
};

} // namespace talkledger
