#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Language models for tests and measurements: real files for the real engine, with a small vocabulary (single
/// characters, mostly) and with weights that no training has seen.
namespace talkledger::testing {

struct LanguageModelShape {
    std::uint32_t embeddingLength{64};
    std::uint32_t headCount{2};
    std::uint32_t keyHeadCount{2};
    std::uint32_t layerCount{1};
    std::uint32_t feedForwardLength{128};
    std::uint32_t contextLength{16384};
    std::uint32_t wordCount{0};        ///< of made-up words beside the characters
    bool isQuantized{false};           ///< to 8 bits; a length has to be a multiple of 32 then
    std::vector<std::string> pieces{}; ///< of text, each a token of its own
};

/// Writes anything at all; the same for the same seed.
void writeRandomLanguageModel(const std::filesystem::path& file, const LanguageModelShape& shape, std::uint32_t seed);

/// After the first text of a pair, as a token of its own, the model writes the second one.
using CannedContinuations = std::vector<std::pair<std::string, std::string>>;

void writeCannedLanguageModel(const std::filesystem::path& file, const CannedContinuations& continuations);

/// Makes a model write a whole summary: each property's value after its name.
CannedContinuations cannedSummary();

/// The overview of that summary, and its only decision.
constexpr std::string_view cannedOverview = "The customer wants a pilot in May.";
constexpr std::string_view cannedDecision = "Start the pilot";

} // namespace talkledger::testing
