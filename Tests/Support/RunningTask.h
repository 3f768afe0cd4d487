#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <stdexcept>
#include <utility>
#include <variant>

namespace talkledger::testing {

/// Runs everything that can run now.
inline void poll(boost::asio::io_context& context) {
    context.restart();
    context.poll();
}

/// A task that a test lets run up to where it waits, looks at, and lets go on. Has to outlive what it started.
template <typename Value>
class RunningTask {
public:
    RunningTask(boost::asio::io_context& context, Task<Value> task) : context_(context) {
        boost::asio::co_spawn(
            context, keepResult(std::move(task)),
            boost::asio::bind_cancellation_slot(cancellation_.slot(), [this](const std::exception_ptr& error) {
                failure_ = error;
                hasEnded_ = true;
            }));
        poll(context_);
    }

    RunningTask(const RunningTask&) = delete;
    RunningTask& operator=(const RunningTask&) = delete;
    ~RunningTask() = default;

    bool hasEnded() const { return hasEnded_; }

    void cancel() {
        cancellation_.emit(boost::asio::cancellation_type::terminal);
        poll(context_);
    }

    /// What it returned or threw; it has to have ended.
    Value result() {
        if (!hasEnded_) {
            throw std::logic_error("The task has not ended.");
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if constexpr (!std::is_void_v<Value>) {
            return std::move(value_);
        }
    }

private:
    Task<> keepResult(Task<Value> task) {
        if constexpr (std::is_void_v<Value>) {
            co_await std::move(task);
        } else {
            value_ = co_await std::move(task);
        }
    }

    boost::asio::io_context& context_;
    boost::asio::cancellation_signal cancellation_;
    std::exception_ptr failure_;
    bool hasEnded_{false};
    std::conditional_t<std::is_void_v<Value>, std::monostate, Value> value_{};
};

/// The text of what the call throws; empty when it throws nothing.
template <typename Call>
std::string failureText(Call call) {
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return {};
}

} // namespace talkledger::testing
