#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"

#include "TalkledgerCore/Support/FileUrl.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

std::int64_t integerBetween(const JsonReader& reader, std::int64_t least, std::int64_t greatest) {
    const std::int64_t value = reader.integer();
    if (value < least || value > greatest) {
        throw reader.invalid("between " + std::to_string(least) + " and " + std::to_string(greatest));
    }
    return value;
}

std::int64_t tokenCountOf(const JsonReader& reader, std::string_view key) {
    constexpr std::int64_t most = 1'000'000'000;
    return integerBetween(reader.required(key), 0, most);
}

std::filesystem::path modelOf(const JsonReader& reader) {
    const JsonReader model = reader.required("model");
    const std::optional<std::filesystem::path> path = pathFromFileUrl(model.string());
    if (!path) {
        throw model.invalid("the location of a file");
    }
    return *path;
}

Json propertyJson(const GenerationProperty& property) {
    Json json = {{"name", property.name}, {"description", property.description}, {"isList", property.isList}};
    if (property.maximumCount) {
        json["maximumCount"] = *property.maximumCount;
    }
    return json;
}

GenerationProperty propertyFrom(const JsonReader& reader) {
    constexpr std::int64_t mostEntries = 1000;
    GenerationProperty property{.name = reader.required("name").string(),
                                .description = reader.required("description").string(),
                                .isList = reader.required("isList").boolean(),
                                .maximumCount = {}};
    if (const auto maximum = reader.optional("maximumCount")) {
        property.maximumCount = static_cast<int>(integerBetween(*maximum, 0, mostEntries));
    }
    return property;
}

Json schemaJson(const GenerationSchema& schema) {
    Json properties = Json::array();
    for (const GenerationProperty& property : schema.properties) {
        properties.push_back(propertyJson(property));
    }
    return {{"type", schema.type}, {"description", schema.description}, {"properties", std::move(properties)}};
}

GenerationSchema schemaFrom(const JsonReader& reader) {
    constexpr std::size_t mostProperties = 64;
    GenerationSchema schema{.type = reader.required("type").string(),
                            .description = reader.required("description").string(),
                            .properties = {}};
    const JsonReader properties = reader.required("properties");
    for (const JsonReader& property : properties.elements()) {
        schema.properties.push_back(propertyFrom(property));
    }
    if (schema.properties.empty() || schema.properties.size() > mostProperties) {
        throw properties.invalid("a few properties");
    }
    return schema;
}

} // namespace

Json toJson(const AskModel& message) {
    return {{"request", message.request},
            {"model", fileUrl(message.model)},
            {"instructions", message.instructions},
            {"prompt", message.prompt},
            {"schema", schemaJson(message.schema)},
            {"includesSchema", message.includesSchema},
            {"maximumTokens", message.maximumTokens},
            {"isProvisional", message.isProvisional}};
}

Json toJson(const CheckLanguageModel& message) {
    return {{"request", message.request}, {"model", fileUrl(message.model)}};
}

Json toJson(const HoldModel& message) {
    return {{"model", fileUrl(message.model)}};
}

Json toJson(const ReleaseModel& /*message*/) {
    return Json::object();
}

Json toJson(const ModelAnswer& message) {
    return {{"request", message.request},
            {"text", message.text},
            {"promptTokens", message.promptTokens},
            {"reusedTokens", message.reusedTokens},
            {"answerTokens", message.answerTokens}};
}

template <>
AskModel fromJson<AskModel>(const JsonReader& reader) {
    const JsonReader maximum = reader.required("maximumTokens");
    return {.request = requestOf(reader),
            .model = modelOf(reader),
            .instructions = reader.required("instructions").string(),
            .prompt = reader.required("prompt").string(),
            .schema = schemaFrom(reader.required("schema")),
            .includesSchema = reader.required("includesSchema").boolean(),
            .maximumTokens = static_cast<int>(integerBetween(maximum, 1, AskModel::mostAnswerTokens)),
            .isProvisional = reader.required("isProvisional").boolean()};
}

template <>
CheckLanguageModel fromJson<CheckLanguageModel>(const JsonReader& reader) {
    return {.request = requestOf(reader), .model = modelOf(reader)};
}

template <>
HoldModel fromJson<HoldModel>(const JsonReader& reader) {
    return {.model = modelOf(reader)};
}

template <>
ReleaseModel fromJson<ReleaseModel>(const JsonReader& /*reader*/) {
    return {};
}

template <>
ModelAnswer fromJson<ModelAnswer>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .text = reader.required("text").string(),
            .promptTokens = tokenCountOf(reader, "promptTokens"),
            .reusedTokens = tokenCountOf(reader, "reusedTokens"),
            .answerTokens = tokenCountOf(reader, "answerTokens")};
}

} // namespace talkledger
