#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <nlohmann/json.hpp>

#include <array>
#include <new>
#include <string_view>
#include <utility>

namespace talkledger {
namespace {

constexpr std::array<std::pair<EngineLack, std::string_view>, 3> lacks{
    {{EngineLack::nothing, "nothing"}, {EngineLack::memory, "memory"}, {EngineLack::engine, "engine"}}};

std::string_view nameOf(EngineLack lack) {
    return lacks.at(static_cast<std::size_t>(lack)).second;
}

EngineLack lackFrom(const JsonReader& reader) {
    for (const auto& [lack, name] : lacks) {
        if (reader.string() == name) {
            return lack;
        }
    }
    throw reader.invalid("nothing, memory or engine");
}

EngineLack lackOf(const std::exception& failure) {
    if (const auto* const known = dynamic_cast<const EngineError*>(&failure)) {
        return known->lack();
    }
    return dynamic_cast<const std::bad_alloc*>(&failure) == nullptr ? EngineLack::nothing : EngineLack::memory;
}

} // namespace

RequestFailed RequestFailed::because(std::int64_t request, const std::exception& failure) {
    return {.request = request, .description = failure.what(), .lack = lackOf(failure)};
}

Json toJson(const Hello& message) {
    return {{"version", message.version}};
}

Json toJson(const Ping&) {
    return Json::object();
}

Json toJson(const Pong&) {
    return Json::object();
}

Json toJson(const CancelRequest& message) {
    return {{"request", message.request}};
}

Json toJson(const RequestFailed& message) {
    return {{"request", message.request}, {"description", message.description}, {"lack", nameOf(message.lack)}};
}

template <>
Hello fromJson<Hello>(const JsonReader& reader) {
    return {.version = reader.required("version").integer()};
}

template <>
Ping fromJson<Ping>(const JsonReader&) {
    return {};
}

template <>
Pong fromJson<Pong>(const JsonReader&) {
    return {};
}

template <>
CancelRequest fromJson<CancelRequest>(const JsonReader& reader) {
    return {.request = requestOf(reader)};
}

template <>
RequestFailed fromJson<RequestFailed>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .description = reader.required("description").string(),
            .lack = lackFrom(reader.required("lack"))};
}

std::int64_t requestOf(const JsonReader& message) {
    return message.required("request").integer();
}

} // namespace talkledger
