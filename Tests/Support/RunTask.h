#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>

#include <chrono>
#include <future>
#include <stdexcept>
#include <utility>

namespace talkledger::testing {

/// Runs `task` on `context` until it has ended, and returns or throws what it did.
template <typename T>
T runTask(boost::asio::io_context& context, Task<T> task) {
    // Another thread may only now be done with an earlier task, and would stop a context without work.
    auto work = boost::asio::make_work_guard(context);
    context.restart();
    std::future<T> result = boost::asio::co_spawn(context, std::move(task), boost::asio::use_future);
    work.reset();
    while (result.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        if (context.run_one() == 0) {
            throw std::runtime_error("The task never ended.");
        }
    }
    return result.get();
}

template <typename T>
T runTask(Task<T> task) {
    boost::asio::io_context context;
    return runTask(context, std::move(task));
}

} // namespace talkledger::testing
