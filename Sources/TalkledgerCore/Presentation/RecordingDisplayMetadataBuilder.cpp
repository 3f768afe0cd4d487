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
    // A file may name dates that are further apart than nanoseconds can count.
    using Milliseconds = std::chrono::milliseconds;
    const auto elapsed = std::chrono::duration_cast<Milliseconds>(session.endedAt.value_or(now).time_since_epoch()) -
                         std::chrono::duration_cast<Milliseconds>(session.startedAt.time_since_epoch());
    const auto seconds = std::max<std::int64_t>(std::chrono::duration_cast<std::chrono::seconds>(elapsed).count(), 0);
    return {.duration = twoDigits(seconds / 60) + ":" + twoDigits(seconds % 60),
            .status = session.endedAt ? RecordingDisplayStatus::transcribed : RecordingDisplayStatus::recording};
}

} // namespace talkledger
