#pragma once

#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerWorkers/Protocol/EngineError.h"

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

/// The messages that the program exchanges with every worker.
namespace talkledger {

/// The descriptor on which a worker inherits its end of the socket pair; no other is open but the standard three.
constexpr int workerSocketDescriptor = 3;

/// The first message of a worker. Another version than the program's own means that the two were installed apart.
struct Hello {
    static constexpr std::string_view type = "hello";
    static constexpr std::int64_t currentVersion = 4;

    std::int64_t version{currentVersion};

    bool operator==(const Hello&) const = default;
};

/// The program asks for a sign of life; the worker answers with `Pong` whatever its engine does.
struct Ping {
    static constexpr std::string_view type = "ping";

    bool operator==(const Ping&) const = default;
};

struct Pong {
    static constexpr std::string_view type = "pong";

    bool operator==(const Pong&) const = default;
};

/// The results of a request are no longer wanted; it still ends.
struct CancelRequest {
    static constexpr std::string_view type = "cancel";

    std::int64_t request{0};

    bool operator==(const CancelRequest&) const = default;
};

/// A request's end in place of its answer.
struct RequestFailed {
    static constexpr std::string_view type = "failed";

    std::int64_t request{0};
    std::string description; ///< for the user
    EngineLack lack{EngineLack::nothing};

    /// Of what the engine threw.
    static RequestFailed because(std::int64_t request, const std::exception& failure);

    bool operator==(const RequestFailed&) const = default;
};

Json toJson(const Hello& message);
Json toJson(const Ping& message);
Json toJson(const Pong& message);
Json toJson(const CancelRequest& message);
Json toJson(const RequestFailed& message);

template <>
Hello fromJson<Hello>(const JsonReader& reader);
template <>
Ping fromJson<Ping>(const JsonReader& reader);
template <>
Pong fromJson<Pong>(const JsonReader& reader);
template <>
CancelRequest fromJson<CancelRequest>(const JsonReader& reader);
template <>
RequestFailed fromJson<RequestFailed>(const JsonReader& reader);

/// The number of the request that a message belongs to.
std::int64_t requestOf(const JsonReader& message);

} // namespace talkledger
