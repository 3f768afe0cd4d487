#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <functional>
#include <future>
#include <utility>

namespace talkledger {

template <typename T>
using KeptCall = std::packaged_task<T(const std::function<T()>&)>;

template <typename T>
Task<void> perform(KeptCall<T> call, std::function<T()> function) {
    call(function);
    co_return;
}

/// Runs a blocking function on `executor`, lets go of it there, and resumes the caller on its own. Failures are passed
/// on. The function is not interrupted: a cancellation reaches the caller when it goes on. For source files only, since
/// its includes are heavy.
template <typename T>
Task<T> runOn(Executor executor, std::function<T()> function) {
    // Keeps the failure as well: an exception that crosses would be released by both threads, inside the C++ library,
    // where the thread sanitizer does not see in which order.
    KeptCall<T> call([](const std::function<T()>& kept) { return kept(); });
    std::future<T> outcome = call.get_future();
    // Asio would pass a cancellation on to the other executor's threads, in the middle of what they are doing.
    auto uncancelled =
        boost::asio::bind_cancellation_slot(boost::asio::cancellation_slot(), boost::asio::use_awaitable);
    co_await boost::asio::co_spawn(executor, perform(std::move(call), std::move(function)), std::move(uncancelled));
    co_return outcome.get();
}

} // namespace talkledger
