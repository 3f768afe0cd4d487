#include "TalkledgerWorkers/Transcriber/Transcriber.h"

#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Transcriber/FileTranscription.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <utility>
#include <variant>

namespace talkledger {

namespace asio = boost::asio;

Transcriber::Transcriber(FrameSocket::Socket socket, SpeechEngineFactory engines, const Settings& settings)
    : settings_(settings),
      executor_(socket.get_executor()),
      socket_(std::move(socket)),
      engines_(std::move(engines)),
      threads_(settings.threads) {}

Transcriber::~Transcriber() {
    for (auto& [number, stop] : requests_) {
        stop.request_stop();
    }
    threads_.join();
}

Task<void> Transcriber::run() {
    using namespace asio::experimental::awaitable_operators;
    send(Hello{});
    co_await (readMessages() || socket_.writeQueued() || discardIdleEngines());
}

Task<void> Transcriber::readMessages() {
    try {
        for (auto frame = co_await socket_.read(); frame.has_value(); frame = co_await socket_.read()) {
            const auto message = decodeMessage<MessageToTranscriber>(std::move(*frame));
            std::visit([this](const auto& known) { handle(known); }, message);
        }
    } catch (const std::exception&) {
        // A program that breaks the rules is left like one that is gone: returning ends the other operations.
    }
}

Task<void> Transcriber::discardIdleEngines() {
    asio::steady_timer timer(co_await asio::this_coro::executor);
    for (;;) {
        timer.expires_after(settings_.engineIdleTime);
        co_await timer.async_wait(asio::use_awaitable);
        engines_.discardUnusedSince(EngineShelf::Clock::now() - settings_.engineIdleTime);
    }
}

void Transcriber::handle(const Ping&) {
    send(Pong{});
}

void Transcriber::handle(const TranscribeFile& message) {
    const auto [request, isNew] = requests_.try_emplace(message.request);
    if (!isNew) {
        throw ProtocolError("A request's number is in use.");
    }
    asio::post(threads_, [this, message, stop = request->second.get_token()] {
        transcribeFile(message, engines_, stop, [this, number = message.request](const MessageFromTranscriber& told) {
            asio::post(executor_, [this, number, told] { report(number, told); });
        });
    });
}

void Transcriber::handle(const CancelRequest& message) {
    if (const auto request = requests_.find(message.request); request != requests_.end()) {
        request->second.request_stop();
    }
}

void Transcriber::report(std::int64_t request, const MessageFromTranscriber& message) {
    if (std::holds_alternative<TranscriptionFinished>(message) ||
        std::holds_alternative<TranscriptionFailed>(message)) {
        requests_.erase(request);
    }
    send(message);
}

void Transcriber::send(const MessageFromTranscriber& message) {
    socket_.send(std::visit([](const auto& known) { return encodeMessage(known); }, message));
}

} // namespace talkledger
