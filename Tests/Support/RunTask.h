#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace talkledger::testing {

/// Lets `context` run until `ended`.
inline void runUntil(boost::asio::io_context& context, const bool& ended, const std::exception_ptr& failure) {
    while (!ended && context.run_one() > 0) {
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    if (!ended) {
        throw std::runtime_error("The task never ended.");
    }
}

/// Runs `task` on `context` until it has ended, and returns or throws what it did.
template <typename T>
T runTask(boost::asio::io_context& context, Task<T> task) {
    std::exception_ptr failure;
    bool ended = false;
    // Another thread may only now be done with an earlier task, and would stop a context without work.
    auto work = boost::asio::make_work_guard(context);
    context.restart();
    if constexpr (std::is_void_v<T>) {
        boost::asio::co_spawn(context, std::move(task), [&](const std::exception_ptr& error) {
            failure = error;
            ended = true;
        });
        work.reset();
        runUntil(context, ended, failure);
    } else {
        std::optional<T> result;
        boost::asio::co_spawn(context, std::move(task), [&](const std::exception_ptr& error, T value) {
            failure = error;
            ended = true;
            if (!error) {
                result.emplace(std::move(value));
            }
        });
        work.reset();
        runUntil(context, ended, failure);
        return std::move(*result);
    }
}

template <typename T>
T runTask(Task<T> task) {
    boost::asio::io_context context;
    return runTask(context, std::move(task));
}

} // namespace talkledger::testing
