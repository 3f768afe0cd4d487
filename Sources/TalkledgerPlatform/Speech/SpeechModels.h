#pragma once

#include <filesystem>
#include <string>

namespace talkledger {

/// The installed model files of the recogniser.
struct SpeechModels {
    std::filesystem::path speech; ///< empty where there is none
    std::filesystem::path voice;  ///< tells voices from other sounds; likewise
    bool isMultilingual{false};   ///< of the speech model

    /// Never fails: what cannot be read is not installed. Whether a file is whole shows when it is loaded.
    static SpeechModels installedIn(const std::filesystem::path& folder);

    /// Whether a locale's language can be recognised.
    bool know(const std::string& locale) const;
};

/// Whether the speech model that goes by the name of that file, like "ggml-base.en.bin", recognises a locale's
/// language.
bool modelKnows(const std::string& fileName, const std::string& locale);

} // namespace talkledger
