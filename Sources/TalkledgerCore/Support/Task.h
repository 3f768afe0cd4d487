#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

namespace talkledger {

/// An asynchronous operation: a coroutine that runs on the executor it was spawned on and is cancelled through Asio's
/// cancellation slots. Failures are exceptions.
template <typename T = void>
using Task = boost::asio::awaitable<T>;

using Executor = boost::asio::any_io_executor;

} // namespace talkledger
