#include "TalkledgerWorkers/Summarizer/Summarizer.h"

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

namespace {

MessageFromSummarizer outcome(std::int64_t request, const std::function<ModelAnswer()>& work) {
    try {
        return work();
    } catch (const std::exception& failure) {
        return RequestFailed::because(request, failure);
    }
}

} // namespace

Summarizer::Summarizer(FrameSocket::Socket socket, const Settings& settings)
    : settings_(settings),
      executor_(socket.get_executor()),
      socket_(std::move(socket)),
      engine_(settings.engineThreads),
      lastUse_(std::chrono::steady_clock::now()) {}

Summarizer::~Summarizer() {
    loading_.request_stop();
    for (auto& [number, stop] : requests_) {
        stop.request_stop();
    }
    thread_.join();
}

Task<void> Summarizer::run() {
    using namespace asio::experimental::awaitable_operators;
    send(Hello{});
    co_await (readMessages() || socket_.writeQueued() || unloadWhenIdle());
}

Task<void> Summarizer::readMessages() {
    try {
        for (auto frame = co_await socket_.read(); frame.has_value(); frame = co_await socket_.read()) {
            const auto message = decodeMessage<MessageToSummarizer>(std::move(*frame));
            std::visit([this](const auto& known) { handle(known); }, message);
        }
    } catch (const std::exception&) {
        // A program that breaks the rules is left like one that is gone: returning ends the other operations.
    }
}

Task<void> Summarizer::unloadWhenIdle() {
    asio::steady_timer timer(co_await asio::this_coro::executor);
    for (;;) {
        timer.expires_at(lastUse_ + settings_.idleTime);
        co_await timer.async_wait(asio::use_awaitable);
        if (std::chrono::steady_clock::now() < lastUse_ + settings_.idleTime) {
            continue;
        }
        if (!isHeld_ && requests_.empty()) {
            asio::post(thread_, [this] { engine_.unload(); });
        }
        lastUse_ = std::chrono::steady_clock::now();
    }
}

void Summarizer::handle(const Ping& /*message*/) {
    send(Pong{});
}

void Summarizer::handle(const AskModel& message) {
    serve(message.request, [this, message](const std::stop_token& stop) { return engine_.answer(message, stop); });
}

void Summarizer::handle(const CheckLanguageModel& message) {
    serve(message.request, [this, message](const std::stop_token& stop) { return engine_.check(message, stop); });
}

void Summarizer::handle(const HoldModel& message) {
    isHeld_ = true;
    loading_ = std::stop_source();
    asio::post(thread_, [this, model = message.model, stop = loading_.get_token()] {
        try {
            engine_.load(model, stop);
        } catch (const LanguageEngineError&) {
            // Whoever asks something is told.
        }
    });
}

void Summarizer::handle(const ReleaseModel& /*message*/) {
    isHeld_ = false;
    loading_.request_stop();
    lastUse_ = std::chrono::steady_clock::now();
}

void Summarizer::handle(const CancelRequest& message) {
    if (const auto request = requests_.find(message.request); request != requests_.end()) {
        request->second.request_stop();
    }
}

void Summarizer::serve(std::int64_t request, Work work) {
    const auto [added, isNew] = requests_.try_emplace(request);
    if (!isNew) {
        throw ProtocolError("A request's number is in use.");
    }
    asio::post(thread_, [this, request, work = std::move(work), stop = added->second.get_token()] {
        const MessageFromSummarizer message = outcome(request, [&] { return work(stop); });
        asio::post(executor_, [this, request, message] { end(request, message); });
    });
}

void Summarizer::end(std::int64_t request, const MessageFromSummarizer& message) {
    requests_.erase(request);
    lastUse_ = std::chrono::steady_clock::now();
    send(message);
}

void Summarizer::send(const MessageFromSummarizer& message) {
    socket_.send(std::visit([](const auto& known) { return encodeMessage(known); }, message));
}

} // namespace talkledger
