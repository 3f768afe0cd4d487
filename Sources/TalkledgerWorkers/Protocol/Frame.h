#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// What goes over the socket between the program and a worker: frames of a JSON head and raw bytes (audio samples)
/// behind it. On the wire: the head's and the payload's length in bytes, 32 bits each with the lowest byte first, then
/// both. Either side may be broken or hostile: all sizes are bounded, and memory follows what has really arrived.
namespace talkledger {

/// The other side broke the rules of the protocol; there is no going on with it.
class ProtocolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Frame {
    /// Bytes. A head holds a language model's prompt at most, a payload some seconds of audio.
    static constexpr std::size_t maximumHeadLength = std::size_t{1} << 20;
    static constexpr std::size_t maximumPayloadLength = std::size_t{1} << 20;

    std::string head;
    std::vector<std::byte> payload;

    bool operator==(const Frame&) const = default;
};

/// Throws `ProtocolError` for a frame beyond the bounds.
std::vector<std::byte> encodeFrame(const Frame& frame);

/// Cuts a stream of bytes, which may come split anywhere, into frames.
class FrameDecoder {
public:
    void append(std::span<const std::byte> bytes);

    /// The next complete frame, absent until its last byte has come. Throws `ProtocolError` as soon as a length is
    /// beyond the bounds, and from then on.
    std::optional<Frame> next();

private:
    std::vector<std::byte> received_;
    std::size_t consumed_{0}; ///< bytes of `received_` that have been handed out
};

} // namespace talkledger
