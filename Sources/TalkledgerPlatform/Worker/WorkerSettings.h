#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

namespace talkledger {

/// How a worker program is started, watched and ended.
struct WorkerSettings {
    std::string name; ///< for the user, at a sentence's beginning; its client knows it
    std::filesystem::path program;
    std::chrono::milliseconds pingInterval{std::chrono::seconds(1)};
    int unansweredPings{10};                                      ///< so many in a row, and the worker counts as dead
    std::chrono::milliseconds idleTime{std::chrono::minutes(3)};  ///< without a request, then it is ended
    std::chrono::milliseconds exitGrace{std::chrono::seconds(2)}; ///< from closing its socket to killing it
};

/// Where a worker program is: beside this program's own executable, or where it is installed.
std::filesystem::path workerProgram(std::string_view name);

} // namespace talkledger
