#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Model files for tests and benchmarks, in the engine's own format.
namespace talkledger::testing {

/// A speech model that says the same sentence to whatever it hears.
struct CannedModel {
    std::vector<std::string> words{" we", " have", " a", " budget"}; ///< each of them once
    double duration{3};                                              ///< of the sentence, seconds; up to 30
    std::vector<std::string> requiredWords{" ", " -", " '"};         ///< without which the engine breaks down
    std::string language{}; ///< that it takes everything for; by default it cannot tell
    std::int32_t width{32}; ///< of its layers; 512 and six layers with eight heads are those of the model named "base"
    std::int32_t heads{1};
    std::int32_t layers{1};
};

/// Throws std::runtime_error.
void writeModel(const std::filesystem::path& path, const CannedModel& model = {});

/// A model that takes everything for a voice, or nothing.
void writeVoiceModel(const std::filesystem::path& path, bool hearsVoices);

} // namespace talkledger::testing
