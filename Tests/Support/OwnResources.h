#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

/// What processes have at the moment, and what they use.
namespace talkledger::testing {

inline std::vector<pid_t> children(pid_t process = getpid()) {
    std::vector<pid_t> found;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream list(task.path() / "children");
        for (pid_t child = 0; list >> child;) {
            found.push_back(child);
        }
    }
    return found;
}

/// What a process has had of the processor, in the kernel's ticks.
inline long processorTicks(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    constexpr int before = 11; // fields between the name and the two times
    std::string skipped;
    for (int field = 0; field < before; ++field) {
        fields >> skipped;
    }
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return user + system;
}

inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

} // namespace talkledger::testing
