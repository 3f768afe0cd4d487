#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>

#include <chrono>
#include <exception>
#include <future>
#include <stdexcept>
#include <string>
#include <utility>

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
    RunningTask(boost::asio::io_context& context, Task<Value> task)
        : context_(context),
          result_(boost::asio::co_spawn(
              context, std::move(task),
              boost::asio::bind_cancellation_slot(cancellation_.slot(), boost::asio::use_future))) {
        poll(context_);
    }

    RunningTask(const RunningTask&) = delete;
    RunningTask& operator=(const RunningTask&) = delete;
    ~RunningTask() = default;

    bool hasEnded() const { return result_.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }

    void cancel() {
        cancellation_.emit(boost::asio::cancellation_type::terminal);
        poll(context_);
    }

    /// What it returned or threw; it has to have ended.
    Value result() const {
        if (!hasEnded()) {
            throw std::logic_error("The task has not ended.");
        }
        return result_.get();
    }

private:
    boost::asio::io_context& context_;
    boost::asio::cancellation_signal cancellation_;
    std::shared_future<Value> result_;
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
