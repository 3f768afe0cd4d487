#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <nlohmann/json.hpp>

namespace talkledger {

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
    return {{"request", message.request}, {"description", message.description}};
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
    return {.request = requestOf(reader), .description = reader.required("description").string()};
}

std::int64_t requestOf(const JsonReader& message) {
    return message.required("request").integer();
}

} // namespace talkledger
