#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace talkledger::testing {

/// Changes to the inherited environment; an absent value removes the variable.
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

struct ChildProcessOptions {
    std::vector<std::string> arguments; ///< the program first, searched in PATH
    EnvironmentChanges environment;
    std::filesystem::path workingDirectory;
    int standardInput{-1};  ///< an open descriptor to read from; otherwise /dev/null
    int standardOutput{-1}; ///< an open descriptor to write to; otherwise captured
};

/// A child process started with posix_spawn, of which only the standard descriptors are open. It is killed when this
/// object goes, and by the kernel when the thread that started it ends (needs `setpriv` of util-linux). Not
/// thread-safe.
class ChildProcess {
public:
    /// Throws std::system_error when nothing could be started. A program that is not found ends with status 127.
    explicit ChildProcess(const ChildProcessOptions& options);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }

    bool isRunning();

    /// Waits for the end. The exit status as a shell gives it (128 + the signal for a killed child); absent when it
    /// still runs after `patience`.
    std::optional<int> wait(std::chrono::milliseconds patience);

    /// Does nothing once the child has been waited for.
    void signal(int number);

    /// Asks with SIGTERM, and insists with SIGKILL after `patience`.
    void stop(std::chrono::milliseconds patience = std::chrono::seconds(2));

    /// What the child and those of its children that it waited for used; zero until it has ended.
    std::chrono::microseconds processorTime() const { return processorTime_; }

    /// Everything written so far, also while it runs.
    std::string standardOutput() const;
    std::string standardError() const;

private:
    pid_t pid_{-1};
    int pidDescriptor_{-1};
    int outputDescriptor_{-1};
    int errorDescriptor_{-1};
    std::optional<int> status_;
    std::chrono::microseconds processorTime_{0};
};

/// Runs a program to its end and returns its standard output. Throws std::runtime_error with what it wrote to its
/// standard error when it fails, or does not end within `patience`.
std::string runProgram(const ChildProcessOptions& options,
                       std::chrono::milliseconds patience = std::chrono::seconds(20));

} // namespace talkledger::testing
