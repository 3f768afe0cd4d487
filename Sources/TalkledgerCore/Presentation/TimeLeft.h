#pragma once

#include <chrono>
#include <optional>

namespace talkledger {

/// How long something still takes of which `share`, 0 to 1, was done in `elapsed`: rounded up, more coarsely the longer
/// it is. Absent while too little is done to tell.
std::optional<std::chrono::seconds> timeLeft(std::chrono::duration<double> elapsed, double share);

} // namespace talkledger
