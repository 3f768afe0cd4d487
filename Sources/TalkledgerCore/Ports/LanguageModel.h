#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The on-device language model. Called on the main executor.
namespace talkledger {

enum class UnavailableReason { deviceNotEligible, appleIntelligenceNotEnabled, modelNotReady, unknown };

/// What is missing on this machine.
enum class LanguageModelLack { engine, model };

/// The end of a sentence for the user that says so.
std::string description(LanguageModelLack lack);

struct LanguageModelAvailability {
    bool isAvailable{false};
    UnavailableReason reason{UnavailableReason::unknown};
    std::optional<LanguageModelLack> lack; ///< says more than the reason
};

struct GenerationProperty {
    std::string name;
    std::string description;
    bool isList{false};              ///< a list of strings; otherwise one string
    std::optional<int> maximumCount; ///< of a list's entries

    bool operator==(const GenerationProperty&) const = default;
};

struct GenerationSchema {
    std::string type;
    std::string description;
    std::vector<GenerationProperty> properties;

    bool operator==(const GenerationSchema&) const = default;
};

enum class GenerationSampling { greedy };

struct GenerationOptions {
    GenerationSampling sampling{GenerationSampling::greedy};
    double temperature{0.1};
    int maximumResponseTokens{900};
    bool isProvisional{false}; ///< soon replaced by another: it may rest on an approximate reading of a long prompt
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

/// Finds out whether a file is a language model with which this machine can work.
class LanguageModelCheck {
public:
    LanguageModelCheck() = default;
    LanguageModelCheck(const LanguageModelCheck&) = delete;
    LanguageModelCheck& operator=(const LanguageModelCheck&) = delete;
    virtual ~LanguageModelCheck() = default;

    /// Loads the model and lets it answer once, which takes seconds. Throws an error with a sentence for the user when
    /// it cannot be used.
    virtual Task<void> check(std::filesystem::path model) = 0;
};

} // namespace talkledger
