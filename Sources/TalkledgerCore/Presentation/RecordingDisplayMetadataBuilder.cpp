#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace talkledger {

using namespace std::chrono_literals;

namespace {

Date::duration fractionOfSecond(Date date) {
    const Date::duration remainder = date.time_since_epoch() % 1s;
    return remainder < 0s ? remainder + 1s : remainder;
}

/// Rounded down. A file may name dates that are further apart than nanoseconds can count.
std::int64_t wholeSeconds(Date start, Date end) {
    using std::chrono::seconds;
    const seconds difference = std::chrono::floor<seconds>(end) - std::chrono::floor<seconds>(start);
    return difference.count() - (fractionOfSecond(end) < fractionOfSecond(start) ? 1 : 0);
}

std::string twoDigits(std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

} // namespace

RecordingDisplayMetadata RecordingDisplayMetadataBuilder::build(const RecordingSession& session, Date now) const {
    const std::int64_t elapsed =
        std::max<std::int64_t>(wholeSeconds(session.startedAt, session.endedAt.value_or(now)), 0);
    return {.duration = twoDigits(elapsed / 60) + ":" + twoDigits(elapsed % 60),
            .status = session.endedAt ? RecordingDisplayStatus::transcribed : RecordingDisplayStatus::recording};
}

} // namespace talkledger
