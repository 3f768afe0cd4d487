#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <functional>
#include <utility>

namespace talkledger {

template <typename T>
Task<T> callInTask(std::function<T()> function) {
    co_return function();
}

/// Runs a blocking function on `executor` and resumes the caller on its own. Failures are passed on.
template <typename T>
Task<T> runOn(Executor executor, std::function<T()> function) {
    co_return co_await boost::asio::co_spawn(executor, callInTask(std::move(function)), boost::asio::use_awaitable);
}

} // namespace talkledger
