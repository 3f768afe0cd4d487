#include "Support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace talkledger::testing {
namespace {

void check(int error, const char* what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

int openMemoryFile(const char* name) {
    const int descriptor = memfd_create(name, MFD_CLOEXEC);
    check(descriptor < 0 ? errno : 0, "memfd_create");
    return descriptor;
}

std::string contents(int descriptor) {
    std::string text;
    std::array<char, 4096> part{};
    while (true) {
        const ssize_t count = pread(descriptor, part.data(), part.size(), static_cast<off_t>(text.size()));
        if (count <= 0) {
            return text;
        }
        text.append(part.data(), static_cast<std::size_t>(count));
    }
}

std::vector<std::string> changedEnvironment(const EnvironmentChanges& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!changes.contains(text.substr(0, text.find('=')))) {
            result.push_back(text);
        }
    }
    for (const auto& [name, value] : changes) {
        if (value) {
            result.push_back(name + "=" + *value);
        }
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

struct SpawnActions {
    posix_spawn_file_actions_t actions{};

    SpawnActions() { check(posix_spawn_file_actions_init(&actions), "posix_spawn_file_actions_init"); }

    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }

    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
};

std::chrono::microseconds duration(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

} // namespace

ChildProcess::ChildProcess(const ChildProcessOptions& options)
    : outputDescriptor_(openMemoryFile("stdout")), errorDescriptor_(openMemoryFile("stderr")) {
    SpawnActions spawn;
    if (options.standardInput >= 0) {
        check(posix_spawn_file_actions_adddup2(&spawn.actions, options.standardInput, STDIN_FILENO), "standard input");
    } else {
        check(posix_spawn_file_actions_addopen(&spawn.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
              "standard input");
    }
    const int output = options.standardOutput >= 0 ? options.standardOutput : outputDescriptor_;
    check(posix_spawn_file_actions_adddup2(&spawn.actions, output, STDOUT_FILENO), "standard output");
    check(posix_spawn_file_actions_adddup2(&spawn.actions, errorDescriptor_, STDERR_FILENO), "standard error");
    check(posix_spawn_file_actions_addclosefrom_np(&spawn.actions, STDERR_FILENO + 1), "close descriptors");
    if (!options.workingDirectory.empty()) {
        check(posix_spawn_file_actions_addchdir_np(&spawn.actions, options.workingDirectory.c_str()),
              "working directory");
    }

    // setpriv becomes the program (same process id), after it has asked the kernel to end it with its parent: that
    // holds also when this process is killed and runs no destructor.
    std::vector<std::string> arguments{"setpriv", "--pdeathsig", "KILL", "--"};
    arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
    std::vector<std::string> environment = changedEnvironment(options.environment);
    check(posix_spawnp(&pid_, "setpriv", &spawn.actions, nullptr, pointers(arguments).data(),
                       pointers(environment).data()),
          "Install util-linux: setpriv could not be started");
    // Not pidfd_open: the header of glibc 2.36 lacks its C linkage.
    pidDescriptor_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    check(pidDescriptor_ < 0 ? errno : 0, "pidfd_open");
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    wait(std::chrono::minutes(1));
    close(pidDescriptor_);
    close(outputDescriptor_);
    close(errorDescriptor_);
}

bool ChildProcess::isRunning() {
    return !wait(std::chrono::milliseconds(0));
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!status_) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd ended{.fd = pidDescriptor_, .events = POLLIN, .revents = 0};
        const int ready = poll(&ended, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready == 0) {
            return std::nullopt;
        }
        int status = 0;
        rusage usage{};
        if (ready > 0 && wait4(pid_, &status, 0, &usage) == pid_) {
            status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
            processorTime_ = duration(usage.ru_utime) + duration(usage.ru_stime);
        }
    }
    return status_;
}

void ChildProcess::signal(int number) {
    if (!status_) {
        ::kill(pid_, number);
    }
}

void ChildProcess::stop(std::chrono::milliseconds patience) {
    signal(SIGTERM);
    if (!wait(patience)) {
        signal(SIGKILL);
        wait(std::chrono::minutes(1));
    }
}

std::string ChildProcess::standardOutput() const {
    return contents(outputDescriptor_);
}

std::string ChildProcess::standardError() const {
    return contents(errorDescriptor_);
}

std::string runProgram(const ChildProcessOptions& options, std::chrono::milliseconds patience) {
    ChildProcess child(options);
    const std::optional<int> status = child.wait(patience);
    if (status != 0) {
        throw std::runtime_error(options.arguments.front() +
                                 (status ? " failed with status " + std::to_string(*status) : " did not end") + ": " +
                                 child.standardError() + child.standardOutput());
    }
    return child.standardOutput();
}

} // namespace talkledger::testing
