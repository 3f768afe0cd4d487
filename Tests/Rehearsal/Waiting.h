#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace talkledger::rehearsal {

/// Why a rehearsal failed, as one sentence.
class RehearsalError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Generous: a loaded machine is slow, what is broken never comes.
inline constexpr std::chrono::seconds kPatience{30};

/// Looks again and again until `holds`. Throws a RehearsalError that says that `what` did not come about.
void waitUntil(const std::string& what, const std::function<bool()>& holds, std::chrono::seconds patience = kPatience);

} // namespace talkledger::rehearsal
