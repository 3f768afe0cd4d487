#pragma once

#include <boost/asio/execution/blocking.hpp>
#include <boost/asio/execution/context.hpp>
#include <boost/asio/execution_context.hpp>

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

class QObject;

namespace talkledger {

/// Runs Asio's handlers on the Qt event loop of the thread that made it: the main executor. Handlers may be posted from
/// any thread and run in order. A handler that throws ends the program.
///
/// The end of a program: join the pools' threads, `close` this, then destroy the pools, then this. A suspended
/// coroutine is unwound through its executor, so only in this order do its timers and files go before the pools they
/// belong to.
class QtMainContext : public boost::asio::execution_context {
public:
    class Job {
    public:
        Job() = default;
        Job(const Job&) = delete;
        Job& operator=(const Job&) = delete;
        virtual ~Job() = default;
        virtual void run() = 0;
    };

    QtMainContext();
    QtMainContext(const QtMainContext&) = delete;
    QtMainContext& operator=(const QtMainContext&) = delete;
    ~QtMainContext();

    void post(std::unique_ptr<Job> job);

    /// Destroys the handlers that have not run. What is posted from now on is destroyed at once.
    void close();

    /// True inside a handler that runs here.
    bool isRunningHandler() const;

private:
    class Drain;
    friend class Drain;

    void runPending() noexcept;

    std::mutex mutex_;
    std::vector<std::unique_ptr<Job>> pending_;
    bool isClosed_{false};
    std::unique_ptr<QObject> drain_;
};

/// The executor of a `QtMainContext`. From within a handler, `dispatch` runs at once; anything else waits for the loop.
class QtMainExecutor {
public:
    explicit QtMainExecutor(QtMainContext& context) noexcept : context_(&context) {}

    boost::asio::execution_context& query(boost::asio::execution::context_t) const noexcept { return *context_; }

    boost::asio::execution::blocking_t query(boost::asio::execution::blocking_t) const noexcept {
        return mayRunAtOnce_ ? boost::asio::execution::blocking_t(boost::asio::execution::blocking.possibly)
                             : boost::asio::execution::blocking_t(boost::asio::execution::blocking.never);
    }

    QtMainExecutor require(boost::asio::execution::blocking_t::possibly_t) const noexcept { return {*context_, true}; }

    QtMainExecutor require(boost::asio::execution::blocking_t::never_t) const noexcept { return {*context_, false}; }

    bool operator==(const QtMainExecutor&) const noexcept = default;

    template <typename Function>
    void execute(Function&& function) const {
        if (mayRunAtOnce_ && context_->isRunningHandler()) {
            std::decay_t<Function> runsNow(std::forward<Function>(function));
            std::move(runsNow)();
            return;
        }
        context_->post(std::make_unique<FunctionJob<std::decay_t<Function>>>(std::forward<Function>(function)));
    }

private:
    template <typename Function>
    class FunctionJob final : public QtMainContext::Job {
    public:
        explicit FunctionJob(Function&& function) : function_(std::move(function)) {}

        explicit FunctionJob(const Function& function) : function_(function) {}

        void run() override { std::move(function_)(); }

    private:
        Function function_;
    };

    QtMainExecutor(QtMainContext& context, bool mayRunAtOnce) noexcept
        : context_(&context), mayRunAtOnce_(mayRunAtOnce) {}

    QtMainContext* context_;
    bool mayRunAtOnce_{true};
};

} // namespace talkledger
