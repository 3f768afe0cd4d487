#include "TalkledgerPlatform/Worker/WorkerProcess.h"

#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>

namespace talkledger {

namespace asio = boost::asio;

namespace {

std::string reasonOf(int error) {
    return std::generic_category().message(error);
}

class SpawnActions {
public:
    SpawnActions() {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
    }

    ~SpawnActions() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }

    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    /// Returns an error number.
    int spawn(pid_t& process, const std::filesystem::path& program, int socket) {
        posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&files_, socket, workerSocketDescriptor);
        posix_spawn_file_actions_addclosefrom_np(&files_, workerSocketDescriptor + 1);
        // A worker has its own process group, for a key press in the terminal is meant for the program, and none of the
        // program's signal dispositions.
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
        std::string name = program.string();
        std::array<char*, 2> arguments{name.data(), nullptr};
        return posix_spawn(&process, program.c_str(), &files_, &attributes_, arguments.data(), environ);
    }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

void killAndWait(pid_t process) noexcept {
    kill(process, SIGKILL);
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

std::pair<WorkerProcess, FrameSocket::Socket> WorkerProcess::start(asio::io_context& context,
                                                                   const std::filesystem::path& program) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw WorkerError::cannotStart(program, reasonOf(errno));
    }
    FrameSocket::Socket ours(context, asio::local::stream_protocol(), ends[0]);
    pid_t process = 0;
    const int failure = SpawnActions().spawn(process, program, ends[1]);
    close(ends[1]);
    if (failure != 0) {
        throw WorkerError::cannotStart(program, reasonOf(failure));
    }
    const auto exit = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    if (exit < 0) {
        const int error = errno;
        killAndWait(process);
        throw WorkerError::cannotStart(program, reasonOf(error));
    }
    return {WorkerProcess(asio::posix::stream_descriptor(context, exit), process), std::move(ours)};
}

WorkerProcess::WorkerProcess(asio::posix::stream_descriptor exit, pid_t process)
    : exit_(std::move(exit)), process_(process) {}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept
    : exit_(std::move(other.exit_)), process_(std::exchange(other.process_, 0)) {}

WorkerProcess::~WorkerProcess() {
    reap();
}

Task<void> WorkerProcess::end(std::chrono::milliseconds grace) {
    using namespace asio::experimental::awaitable_operators;
    using Exit = asio::posix::stream_descriptor;
    asio::steady_timer patience(co_await asio::this_coro::executor, grace);
    co_await (exit_.async_wait(Exit::wait_read, asio::use_awaitable) || patience.async_wait(asio::use_awaitable));
    reap();
}

/// Has no effect on a process that has ended but to fetch its status.
void WorkerProcess::reap() noexcept {
    if (process_ != 0) {
        killAndWait(std::exchange(process_, 0));
    }
}

} // namespace talkledger
