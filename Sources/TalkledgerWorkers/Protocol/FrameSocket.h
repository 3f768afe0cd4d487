#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerWorkers/Protocol/Frame.h"

#include <boost/asio/experimental/channel.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace talkledger {

/// One end of the socket pair between the program and a worker, as a stream of frames. Everything runs on the socket's
/// executor. For source files only, since its includes are heavy.
class FrameSocket {
public:
    using Socket = boost::asio::local::stream_protocol::socket;

    explicit FrameSocket(Socket socket);

    /// The next frame; absent when the other side has closed its end. Throws `ProtocolError` or `system_error`.
    Task<std::optional<Frame>> read();

    /// Queues an encoded frame for `writeQueued`.
    void send(std::vector<std::byte> frame);

    /// Writes what is sent, until `close` or the cancellation of this operation. Throws `system_error`.
    Task<void> writeQueued();

    void close();

private:
    Socket socket_;
    boost::asio::experimental::channel<void(boost::system::error_code, std::vector<std::byte>)> queue_;
    FrameDecoder decoder_;
    std::array<std::byte, 65536> buffer_{};
};

} // namespace talkledger
