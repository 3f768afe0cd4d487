#include "TalkledgerWorkers/Transcriber/Transcriber.h"

#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <utility>
#include <variant>

namespace talkledger {

namespace asio = boost::asio;

Transcriber::Transcriber(FrameSocket::Socket socket, SpeechEngineFactory engines, ModelCheck checkModel,
                         const Settings& settings)
    : settings_(settings),
      executor_(socket.get_executor()),
      socket_(std::move(socket)),
      engines_(std::move(engines)),
      checkModel_(std::move(checkModel)),
      threads_(settings.threads),
      streamThreads_(settings.streamThreads) {}

Transcriber::~Transcriber() {
    for (auto& [number, request] : requests_) {
        request.stop.request_stop();
    }
    threads_.join();
    streamThreads_.join();
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
    const Request& request = add(message.request);
    asio::post(threads_, [this, message, stop = request.stop.get_token(), tell = reportOf(message.request)] {
        transcribeFile(message, engines_, stop, tell);
    });
}

void Transcriber::handle(const StartStream& message) {
    Request& request = add(message.request);
    LiveTranscription transcription(message, engines_, request.stop.get_token(), reportOf(message.request));
    request.stream = std::make_shared<Stream>(
        Stream{.transcription = std::move(transcription), .steps = asio::make_strand(streamThreads_)});
    asio::post(request.stream->steps, [stream = request.stream] { stream->transcription.start(); });
}

void Transcriber::handle(const StreamAudio& message) {
    if (message.payload.size() % sizeof(std::int16_t) != 0) {
        throw ProtocolError("A piece of audio ends in the middle of a sample.");
    }
    const std::shared_ptr<Stream> stream = this->stream(message.request);
    if (!stream) {
        return;
    }
    if (stream->unconsumed > 0 && stream->unconsumed + message.sampleCount() > StreamAudio::mostUnconsumed) {
        throw ProtocolError("Audio came faster than it was asked for.");
    }
    stream->unconsumed += message.sampleCount();
    asio::post(stream->steps, [stream, message] { stream->transcription.append(message); });
}

void Transcriber::handle(const FinishStream& message) {
    if (const std::shared_ptr<Stream> stream = this->stream(message.request)) {
        asio::post(stream->steps, [stream] { stream->transcription.finish(); });
    }
}

void Transcriber::handle(const CancelRequest& message) {
    if (const auto request = requests_.find(message.request); request != requests_.end()) {
        request->second.stop.request_stop();
        handle(FinishStream{message.request});
    }
}

void Transcriber::handle(const CheckModel& message) {
    add(message.request);
    asio::post(threads_, [this, message, tell = reportOf(message.request)] {
        try {
            checkModel_(message.path);
            tell(TranscriptionFinished{message.request});
        } catch (const std::exception& failure) {
            tell(RequestFailed::because(message.request, failure));
        }
    });
}

Transcriber::Request& Transcriber::add(std::int64_t request) {
    const auto [added, isNew] = requests_.try_emplace(request);
    if (!isNew) {
        throw ProtocolError("A request's number is in use.");
    }
    return added->second;
}

/// Null for a file and for a request that has ended.
std::shared_ptr<Transcriber::Stream> Transcriber::stream(std::int64_t request) const {
    const auto found = requests_.find(request);
    return found == requests_.end() ? nullptr : found->second.stream;
}

/// For the threads that work on the request.
TranscriberMessageHandler Transcriber::reportOf(std::int64_t request) {
    return [this, request](const MessageFromTranscriber& message) {
        asio::post(executor_, [this, request, message] { report(request, message); });
    };
}

void Transcriber::report(std::int64_t request, const MessageFromTranscriber& message) {
    if (const auto* consumed = std::get_if<StreamConsumed>(&message)) {
        noteConsumed(*consumed);
    }
    if (std::holds_alternative<TranscriptionFinished>(message) || std::holds_alternative<RequestFailed>(message)) {
        requests_.erase(request);
    }
    send(message);
}

void Transcriber::noteConsumed(const StreamConsumed& message) {
    if (const std::shared_ptr<Stream> stream = this->stream(message.request)) {
        stream->unconsumed -= static_cast<std::size_t>(message.samples);
    }
}

void Transcriber::send(const MessageFromTranscriber& message) {
    socket_.send(std::visit([](const auto& known) { return encodeMessage(known); }, message));
}

} // namespace talkledger
