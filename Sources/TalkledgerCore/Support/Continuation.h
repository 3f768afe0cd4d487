#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/experimental/concurrent_channel.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include <exception>
#include <utility>

namespace talkledger {

/// What one coroutine waits for and something that is no coroutine delivers: a value or an error, once.
/// `resume` and `fail` may be called on any thread, before or after `wait`; only the first of them counts. Must not
/// outlive the executor's context: what delivers holds it weakly. For source files only, since its includes are heavy.
template <typename Value>
class Continuation {
public:
    explicit Continuation(const Executor& executor) : outcome_(executor, 1) {}

    void resume(Value value) { outcome_.try_send(boost::system::error_code(), nullptr, std::move(value)); }

    void fail(const std::exception_ptr& failure) { outcome_.try_send(boost::system::error_code(), failure, Value()); }

    /// Called once. Throws `operation_aborted` when the waiting coroutine is cancelled.
    Task<Value> wait() {
        auto [cancelled, failure, value] =
            co_await outcome_.async_receive(boost::asio::as_tuple(boost::asio::use_awaitable));
        if (cancelled) {
            throw boost::system::system_error(boost::asio::error::operation_aborted);
        }
        if (failure) {
            std::rethrow_exception(failure);
        }
        co_return std::move(value);
    }

private:
    boost::asio::experimental::concurrent_channel<void(boost::system::error_code, std::exception_ptr, Value)> outcome_;
};

} // namespace talkledger
