#pragma once

#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerWorkers/Protocol/Frame.h"

#include <nlohmann/json.hpp>

#include <concepts>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// Turns message structs into frames and back. A message is a plain struct with a `static constexpr std::string_view
/// type`, a `toJson` and a `fromJson` beside it; one that carries samples has a member `std::vector<std::byte> payload`
/// besides. The messages that a side understands are a `std::variant` of them. For source files only, since its
/// includes are heavy.
namespace talkledger {

template <typename Message>
concept CarriesPayload = requires(Message message) {
    { message.payload } -> std::same_as<std::vector<std::byte>&>;
};

/// A frame's bytes. Throws `ProtocolError` for a message beyond the bounds, `JsonError` for a number that is not
/// finite.
template <typename Message>
std::vector<std::byte> encodeMessage(const Message& message) {
    Json head = toJson(message);
    head["type"] = Message::type;
    Frame frame{.head = encodeJson(head), .payload = {}};
    if constexpr (CarriesPayload<Message>) {
        frame.payload = message.payload;
    }
    return encodeFrame(frame);
}

namespace detail {

template <typename Message>
Message readMessage(const JsonReader& head, std::vector<std::byte>&& payload) {
    Message message = fromJson<Message>(head);
    if constexpr (CarriesPayload<Message>) {
        message.payload = std::move(payload);
    } else if (!payload.empty()) {
        throw ProtocolError("A message between the program and its worker has a payload that does not belong there.");
    }
    return message;
}

template <typename... Messages>
std::variant<Messages...> readAny(const JsonReader& head, std::vector<std::byte>&& payload,
                                  const std::variant<Messages...>*) {
    const std::string type = head.required("type").string();
    std::variant<Messages...> message;
    const bool isKnown =
        ((type == Messages::type && (message = readMessage<Messages>(head, std::move(payload)), true)) || ...);
    if (!isKnown) {
        throw ProtocolError("A message between the program and its worker is of an unknown kind.");
    }
    return message;
}

} // namespace detail

/// The message in a frame. Throws `ProtocolError` or `JsonError` unless it is one of the variant's.
template <typename AnyMessage>
AnyMessage decodeMessage(Frame frame) {
    const JsonDocument head(frame.head, {.name = "A message between the program and its worker", .advice = ""});
    return detail::readAny(head.root(), std::move(frame.payload), static_cast<const AnyMessage*>(nullptr));
}

} // namespace talkledger
