#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

/// What the program and the summarizer say to each other. The program numbers its requests, which are served in turn;
/// each ends with `ModelAnswer` or `RequestFailed`. Models are absolute locations of GGUF files.
namespace talkledger {

/// Answer the prompt in a JSON object of the schema.
struct AskModel {
    static constexpr std::string_view type = "ask";
    static constexpr int mostAnswerTokens = 4096;

    std::int64_t request{0};
    std::filesystem::path model;
    std::string instructions;
    std::string prompt;
    GenerationSchema schema;
    bool includesSchema{false}; ///< the model is told the schema, too
    int maximumTokens{900};     ///< of the answer
    bool isProvisional{false};  ///< as in `GenerationOptions`

    bool operator==(const AskModel&) const = default;
};

/// Load the model from its beginning, and let it answer a small question.
struct CheckLanguageModel {
    static constexpr std::string_view type = "check";

    std::int64_t request{0};
    std::filesystem::path model;

    bool operator==(const CheckLanguageModel&) const = default;
};

/// Questions will come: keep the model loaded, until `ReleaseModel`. Nothing answers.
struct HoldModel {
    static constexpr std::string_view type = "hold";

    std::filesystem::path model;

    bool operator==(const HoldModel&) const = default;
};

/// The memory may be given back once nothing more has been asked for a while.
struct ReleaseModel {
    static constexpr std::string_view type = "release";

    bool operator==(const ReleaseModel&) const = default;
};

struct ModelAnswer {
    static constexpr std::string_view type = "answer";

    std::int64_t request{0};
    std::string text; ///< the JSON object
    std::int64_t promptTokens{0};
    std::int64_t reusedTokens{0}; ///< of the prompt, which had not to be evaluated again
    std::int64_t answerTokens{0};

    bool operator==(const ModelAnswer&) const = default;
};

using MessageToSummarizer = std::variant<Ping, AskModel, CheckLanguageModel, HoldModel, ReleaseModel, CancelRequest>;
using MessageFromSummarizer = std::variant<Hello, Pong, ModelAnswer, RequestFailed>;

Json toJson(const AskModel& message);
Json toJson(const CheckLanguageModel& message);
Json toJson(const HoldModel& message);
Json toJson(const ReleaseModel& message);
Json toJson(const ModelAnswer& message);

template <>
AskModel fromJson<AskModel>(const JsonReader& reader);
template <>
CheckLanguageModel fromJson<CheckLanguageModel>(const JsonReader& reader);
template <>
HoldModel fromJson<HoldModel>(const JsonReader& reader);
template <>
ReleaseModel fromJson<ReleaseModel>(const JsonReader& reader);
template <>
ModelAnswer fromJson<ModelAnswer>(const JsonReader& reader);

} // namespace talkledger
