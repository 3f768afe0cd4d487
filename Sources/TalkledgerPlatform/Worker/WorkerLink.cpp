#include "TalkledgerPlatform/Worker/WorkerLink.h"

#include "TalkledgerWorkers/Protocol/Message.h"
#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <utility>
#include <variant>

namespace talkledger {

namespace asio = boost::asio;

WorkerLink::WorkerLink(asio::io_context& context, const WorkerSettings& settings, Handlers handlers)
    : WorkerLink(WorkerProcess::start(context, settings.program), settings, std::move(handlers)) {}

WorkerLink::WorkerLink(std::pair<WorkerProcess, FrameSocket::Socket> started, const WorkerSettings& settings,
                       Handlers handlers)
    : settings_(settings),
      handlers_(std::move(handlers)),
      process_(std::move(started.first)),
      socket_(std::move(started.second)) {}

Task<void> WorkerLink::run() {
    using namespace asio::experimental::awaitable_operators;
    const auto self = shared_from_this();
    const auto end = co_await (readFrames() || writeMessages() || watch());
    close();
    const WorkerError error = std::visit([](const WorkerError& any) { return any; }, end);
    handlers_.ended(error);
    handlers_ = {};
    const bool isDead = error.failure() == WorkerError::Case::unresponsive;
    co_await process_.end(isDead ? std::chrono::milliseconds(0) : settings_.exitGrace);
}

void WorkerLink::send(std::vector<std::byte> message) {
    socket_.send(std::move(message));
}

void WorkerLink::close() {
    isOpen_ = false;
    socket_.close();
}

Task<WorkerError> WorkerLink::readFrames() {
    try {
        for (auto frame = co_await socket_.read(); frame.has_value(); frame = co_await socket_.read()) {
            unansweredPings_ = 0; // whatever it says shows that it lives
            receive(std::move(*frame));
        }
    } catch (const WorkerError& error) {
        co_return error;
    } catch (const std::exception&) {
        // Nothing that it says can be relied on any more.
    }
    co_return WorkerError::stopped(settings_.name);
}

void WorkerLink::receive(Frame frame) {
    if (std::exchange(isIntroduced_, true)) {
        handlers_.received(std::move(frame));
        return;
    }
    const auto hello = std::get<Hello>(decodeMessage<std::variant<Hello>>(std::move(frame)));
    if (hello.version != Hello::currentVersion) {
        throw WorkerError::cannotStart(settings_.program, "It belongs to another version of Talkledger");
    }
}

Task<WorkerError> WorkerLink::writeMessages() {
    try {
        co_await socket_.writeQueued();
    } catch (const std::exception&) {
        // Writing fails when the worker is gone.
    }
    co_return WorkerError::stopped(settings_.name);
}

/// Counts pings rather than time: where the whole machine stands still, or sleeps, so does the count.
Task<WorkerError> WorkerLink::watch() {
    asio::steady_timer timer(co_await asio::this_coro::executor);
    std::chrono::milliseconds idle{0};
    while (idle < settings_.idleTime) {
        if (unansweredPings_ == settings_.unansweredPings) {
            co_return WorkerError::unresponsive(settings_.name);
        }
        ++unansweredPings_;
        send(encodeMessage(Ping{}));
        timer.expires_after(settings_.pingInterval);
        co_await timer.async_wait(asio::use_awaitable);
        idle = handlers_.isIdle() ? idle + settings_.pingInterval : std::chrono::milliseconds(0);
    }
    close();
    co_return WorkerError::closed(settings_.name);
}

} // namespace talkledger
