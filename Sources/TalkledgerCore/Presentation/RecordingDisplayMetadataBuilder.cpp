#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace talkledger {
namespace {

std::string twoDigits(std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

} // namespace

RecordingDisplayMetadata RecordingDisplayMetadataBuilder::build(const RecordingSession& session, Date now) const {
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::seconds>(session.endedAt.value_or(now) - session.startedAt);
    const std::int64_t seconds = std::max<std::int64_t>(elapsed.count(), 0);
    return {.duration = twoDigits(seconds / 60) + ":" + twoDigits(seconds % 60),
            .status = session.endedAt ? RecordingDisplayStatus::transcribed : RecordingDisplayStatus::recording};
}

} // namespace talkledger
