#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The on-device language model. Called on the main executor.
namespace talkledger {

enum class UnavailableReason { deviceNotEligible, appleIntelligenceNotEnabled, modelNotReady, unknown };

struct LanguageModelAvailability {
    bool isAvailable{false};
    UnavailableReason reason{UnavailableReason::unknown};
    std::optional<std::string> explanation; ///< a sentence for the user that takes the place of the reason's own
};

struct GenerationProperty {
    std::string name;
    std::string description;
    bool isList{false};              ///< a list of strings; otherwise one string
    std::optional<int> maximumCount; ///< of a list's entries
};

struct GenerationSchema {
    std::string type;
    std::string description;
    std::vector<GenerationProperty> properties;
};

enum class GenerationSampling { greedy };

struct GenerationOptions {
    GenerationSampling sampling{GenerationSampling::greedy};
    double temperature{0.1};
    int maximumResponseTokens{900};
};

/// One conversation, without tools; different ones share nothing.
class LanguageModelSession {
public:
    LanguageModelSession() = default;
    LanguageModelSession(const LanguageModelSession&) = delete;
    LanguageModelSession& operator=(const LanguageModelSession&) = delete;
    virtual ~LanguageModelSession() = default;

    /// A JSON object with exactly the schema's properties.
    virtual Task<std::string> respond(const std::string& prompt, const GenerationSchema& schema,
                                      bool includeSchemaInPrompt, const GenerationOptions& options) = 0;
};

/// A model for general use. What was said in a meeting is only to be put into another form, so it refuses no content.
class SystemLanguageModel {
public:
    SystemLanguageModel() = default;
    SystemLanguageModel(const SystemLanguageModel&) = delete;
    SystemLanguageModel& operator=(const SystemLanguageModel&) = delete;
    virtual ~SystemLanguageModel() = default;

    virtual LanguageModelAvailability availability() const = 0;
    virtual std::unique_ptr<LanguageModelSession> makeSession(const std::string& instructions) = 0;
};

} // namespace talkledger
