#include "TalkledgerPlatform/Speech/Transcription.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/experimental/channel_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <cstddef>
#include <limits>
#include <utility>

namespace talkledger {

namespace asio = boost::asio;

Transcription::Transcription(std::shared_ptr<asio::io_context> context)
    : context_(std::move(context)),
      started_(*context_),
      delivered_(*context_),
      events_(*context_, std::numeric_limits<std::size_t>::max()) {}

Task<void> Transcription::started() {
    co_await wait(started_);
    throwFailure();
}

Task<std::optional<TranscriptionEvent>> Transcription::next() {
    if (isCancelled() || hasEnded_) {
        throwFailure();
        co_return std::nullopt;
    }
    auto [end, event] = co_await events_.async_receive(asio::as_tuple(asio::use_awaitable));
    if (isCancelled()) {
        co_return std::nullopt;
    }
    if (!end) {
        co_return std::move(event);
    }
    if (end != asio::error::eof) {
        cancel();
        throw boost::system::system_error(asio::error::operation_aborted);
    }
    hasEnded_ = true;
    delivered_.close();
    throwFailure();
    co_return std::nullopt;
}

Task<void> Transcription::delivered() {
    co_await wait(delivered_);
    throwFailure();
}

void Transcription::cancel() noexcept {
    isCancelled_ = true;
    started_.close();
    events_.close();
    delivered_.close();
}

void Transcription::tellStarted() {
    started_.close();
}

void Transcription::tell(TranscriptionEvent event) {
    events_.try_send(boost::system::error_code(), std::move(event));
}

void Transcription::tellFinished() {
    started_.close();
    // The end goes the way of the events: closing the channel would discard those that nobody has taken yet.
    events_.try_send(asio::error::eof, TranscriptionEvent());
}

void Transcription::tellFailed(const WorkerError& error) {
    {
        const std::lock_guard guard(lock_);
        failure_ = {error.failure(), error.what()};
    }
    tellFinished();
}

Task<void> Transcription::wait(Gate& gate) {
    auto [closed] = co_await gate.async_receive(asio::as_tuple(asio::use_awaitable));
    if (closed != asio::experimental::error::channel_closed) {
        throw boost::system::system_error(asio::error::operation_aborted);
    }
}

void Transcription::throwFailure() {
    const std::lock_guard guard(lock_);
    if (!isCancelled() && failure_) {
        throw WorkerError(failure_->failure, failure_->description);
    }
}

} // namespace talkledger
