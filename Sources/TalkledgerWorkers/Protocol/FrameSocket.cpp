#include "TalkledgerWorkers/Protocol/FrameSocket.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <limits>
#include <span>
#include <utility>

namespace talkledger {

namespace asio = boost::asio;

FrameSocket::FrameSocket(Socket socket)
    : socket_(std::move(socket)), queue_(socket_.get_executor(), std::numeric_limits<std::size_t>::max()) {}

Task<std::optional<Frame>> FrameSocket::read() {
    for (;;) {
        if (std::optional<Frame> frame = decoder_.next()) {
            co_return frame;
        }
        boost::system::error_code error;
        const std::size_t length =
            co_await socket_.async_read_some(asio::buffer(buffer_), asio::redirect_error(asio::use_awaitable, error));
        if (error == asio::error::eof || error == asio::error::connection_reset) {
            co_return std::nullopt;
        }
        if (error) {
            throw boost::system::system_error(error);
        }
        decoder_.append(std::span(buffer_).first(length));
    }
}

void FrameSocket::send(std::vector<std::byte> frame) {
    queue_.try_send(boost::system::error_code(), std::move(frame));
}

Task<void> FrameSocket::writeQueued() {
    for (;;) {
        auto [ended, frame] = co_await queue_.async_receive(asio::as_tuple(asio::use_awaitable));
        if (ended) {
            co_return;
        }
        co_await asio::async_write(socket_, asio::buffer(frame), asio::use_awaitable);
    }
}

void FrameSocket::close() {
    boost::system::error_code ignored;
    socket_.close(ignored);
    queue_.close();
}

} // namespace talkledger
