#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>

#include <exception>
#include <memory>
#include <utility>

namespace talkledger {

/// A task that runs on its own and can be cancelled, on its executor's thread; a failure of it is of interest to
/// nobody. For source files only, since its includes are heavy.
using TaskHandle = std::shared_ptr<boost::asio::cancellation_signal>;

inline TaskHandle startTask(const Executor& executor, Task<> task) {
    auto handle = std::make_shared<boost::asio::cancellation_signal>();
    // The completion handler keeps the signal for as long as its slot is in use.
    auto ended = [handle](const std::exception_ptr&) {};
    boost::asio::co_spawn(executor, std::move(task), boost::asio::bind_cancellation_slot(handle->slot(), ended));
    return handle;
}

inline void cancel(const TaskHandle& task) {
    if (task) {
        task->emit(boost::asio::cancellation_type::terminal);
    }
}

} // namespace talkledger
