#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerPlatform/Worker/WorkerProcess.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"

#include <boost/asio/io_context.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace talkledger {

/// The conversation with one running worker, from its start to its end: has it introduce itself, carries frames, asks
/// for signs of life, ends a worker that gives none, and one that has had nothing to do for long. Everything runs on
/// the context's one thread. For source files only, since its includes are heavy.
class WorkerLink : public std::enable_shared_from_this<WorkerLink> {
public:
    /// They may own what owns the link: it lets them go after `ended`.
    struct Handlers {
        /// What comes after the introduction. What it throws ends the worker: `WorkerError` as it is, anything else as
        /// `WorkerError::stopped`.
        std::function<void(Frame)> received;
        std::function<bool()> isIdle; ///< whether nothing is asked of the worker
        std::function<void(const WorkerError&)> ended;
    };

    /// Throws `WorkerError`.
    WorkerLink(boost::asio::io_context& context, const WorkerSettings& settings, Handlers handlers);

    /// Runs until the worker has ended and been waited for. Calls `ended` once, as soon as the worker cannot be used
    /// any more.
    Task<void> run();

    /// Queues an encoded message.
    void send(std::vector<std::byte> message);

    /// Ends the worker.
    void close();

    /// False once the worker is being ended.
    bool isOpen() const { return isOpen_; }

private:
    WorkerLink(std::pair<WorkerProcess, FrameSocket::Socket> started, const WorkerSettings& settings,
               Handlers handlers);

    Task<WorkerError> readFrames();
    void receive(Frame frame);
    Task<WorkerError> writeMessages();
    Task<WorkerError> watch();

    WorkerSettings settings_;
    Handlers handlers_;
    WorkerProcess process_;
    FrameSocket socket_;
    int unansweredPings_{0};
    bool isIntroduced_{false};
    bool isOpen_{true};
};

} // namespace talkledger
