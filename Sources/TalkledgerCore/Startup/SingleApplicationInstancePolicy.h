#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {

/// A snapshot of one running application.
struct RunningApplicationInstance {
    std::int32_t processIdentifier{0};
    std::optional<std::string> bundleIdentifier; ///< the application's identifier
    bool isTerminated{false};

    bool operator==(const RunningApplicationInstance&) const = default;
};

/// Tells which running copy counts as the existing instance of this application.
class SingleApplicationInstancePolicy {
public:
    /// The running copy with the lowest process id, the oldest; absent when there is none but the current process.
    std::optional<RunningApplicationInstance>
    existingInstance(std::int32_t currentProcessIdentifier, const std::optional<std::string>& bundleIdentifier,
                     const std::vector<RunningApplicationInstance>& runningApplications) const;
};

} // namespace talkledger
