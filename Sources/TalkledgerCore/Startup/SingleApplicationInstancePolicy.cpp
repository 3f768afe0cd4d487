#include "TalkledgerCore/Startup/SingleApplicationInstancePolicy.h"

namespace talkledger {

std::optional<RunningApplicationInstance> SingleApplicationInstancePolicy::existingInstance(
    std::int32_t currentProcessIdentifier, const std::optional<std::string>& bundleIdentifier,
    const std::vector<RunningApplicationInstance>& runningApplications) const {
    if (!bundleIdentifier || bundleIdentifier->empty()) {
        return std::nullopt;
    }
    const RunningApplicationInstance* oldest = nullptr;
    for (const RunningApplicationInstance& application : runningApplications) {
        const bool isOtherCopy = !application.isTerminated &&
                                 application.processIdentifier != currentProcessIdentifier &&
                                 application.bundleIdentifier == bundleIdentifier;
        if (isOtherCopy && (oldest == nullptr || application.processIdentifier < oldest->processIdentifier)) {
            oldest = &application;
        }
    }
    return oldest == nullptr ? std::nullopt : std::optional(*oldest);
}

} // namespace talkledger
