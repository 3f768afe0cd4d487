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

} // namespace talkledger
