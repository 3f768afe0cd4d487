#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerWorkers/Protocol/FrameSocket.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <utility>

namespace talkledger {

/// A worker program as a child process, of whose descriptors only the standard ones and its end of a socket pair are
/// open. Used on one thread. For source files only, since its includes are heavy.
class WorkerProcess {
public:
    /// The process and our end of the socket pair. Throws `WorkerError`.
    static std::pair<WorkerProcess, FrameSocket::Socket> start(boost::asio::io_context& context,
                                                               const std::filesystem::path& program);

    WorkerProcess(WorkerProcess&& other) noexcept;
    WorkerProcess& operator=(WorkerProcess&&) = delete;
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    /// Kills the process unless it has been waited for.
    ~WorkerProcess();

    /// Waits for the end of the process, which is killed when it takes longer than `grace`.
    Task<void> end(std::chrono::milliseconds grace);

private:
    WorkerProcess(boost::asio::posix::stream_descriptor exit, pid_t process);

    void reap() noexcept;

    boost::asio::posix::stream_descriptor exit_; ///< a pidfd: readable when the process has ended
    pid_t process_;                              ///< 0 when it has been waited for
};

} // namespace talkledger
