#include "TalkledgerWorkers/Protocol/Frame.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace talkledger {

namespace {

constexpr std::size_t lengthSize = 4;
constexpr std::size_t prefixSize = 2 * lengthSize;

void appendLength(std::vector<std::byte>& bytes, std::size_t length) {
    for (std::size_t position = 0; position < lengthSize; ++position) {
        bytes.push_back(static_cast<std::byte>(length >> (8 * position)));
    }
}

std::size_t readLength(std::span<const std::byte> bytes) {
    std::uint32_t length = 0;
    for (std::size_t position = 0; position < lengthSize; ++position) {
        length |= std::to_integer<std::uint32_t>(bytes[position]) << (8 * position);
    }
    return length;
}

void checkLengths(std::size_t head, std::size_t payload) {
    if (head > Frame::maximumHeadLength || payload > Frame::maximumPayloadLength) {
        throw ProtocolError("A message between the program and its worker is too large.");
    }
}

} // namespace

std::vector<std::byte> encodeFrame(const Frame& frame) {
    checkLengths(frame.head.size(), frame.payload.size());
    std::vector<std::byte> bytes;
    bytes.reserve(prefixSize + frame.head.size() + frame.payload.size());
    appendLength(bytes, frame.head.size());
    appendLength(bytes, frame.payload.size());
    const auto head = std::as_bytes(std::span(frame.head));
    bytes.insert(bytes.end(), head.begin(), head.end());
    bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
    return bytes;
}

void FrameDecoder::append(std::span<const std::byte> bytes) {
    received_.erase(received_.begin(), received_.begin() + static_cast<std::ptrdiff_t>(std::exchange(consumed_, 0)));
    received_.insert(received_.end(), bytes.begin(), bytes.end());
}

std::optional<Frame> FrameDecoder::next() {
    const std::span<const std::byte> pending = std::span(received_).subspan(consumed_);
    if (pending.size() < prefixSize) {
        return std::nullopt;
    }
    const std::size_t headLength = readLength(pending);
    const std::size_t payloadLength = readLength(pending.subspan(lengthSize));
    checkLengths(headLength, payloadLength);
    const std::size_t frameLength = prefixSize + headLength + payloadLength;
    if (pending.size() < frameLength) {
        return std::nullopt;
    }
    const auto head = pending.subspan(prefixSize, headLength);
    const auto payload = pending.subspan(prefixSize + headLength, payloadLength);
    Frame frame;
    frame.head.resize(headLength);
    std::memcpy(frame.head.data(), head.data(), headLength);
    frame.payload.assign(payload.begin(), payload.end());
    consumed_ += frameLength;
    return frame;
}

} // namespace talkledger
