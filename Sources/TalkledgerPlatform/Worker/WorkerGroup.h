#pragma once

#include "TalkledgerPlatform/Worker/WorkerLink.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>
#include <set>
#include <thread>

namespace talkledger {

/// The running workers of one client, and the thread on which the client speaks with them. `start` and all handlers are
/// for that thread, which the context belongs to. For source files only, since its includes are heavy.
class WorkerGroup {
public:
    explicit WorkerGroup(WorkerSettings settings);

    /// Ends the workers and waits until each has told its end, as `WorkerError::closed`, and is gone.
    ~WorkerGroup();
    WorkerGroup(const WorkerGroup&) = delete;
    WorkerGroup& operator=(const WorkerGroup&) = delete;

    /// Shared with what other threads wait on: their channels live in it.
    const std::shared_ptr<boost::asio::io_context>& context() const { return context_; }

    /// A worker of its own. Throws `WorkerError`.
    std::shared_ptr<WorkerLink> start(WorkerLink::Handlers handlers);

private:
    void close();
    void stopWhenClosed();

    WorkerSettings settings_;
    std::shared_ptr<boost::asio::io_context> context_{std::make_shared<boost::asio::io_context>(1)};
    std::set<std::shared_ptr<WorkerLink>> links_; ///< with those that have not quite ended yet
    bool isClosed_{false};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
    std::thread thread_; ///< last: it uses the rest
};

} // namespace talkledger
