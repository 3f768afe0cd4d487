#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <string>

namespace talkledger {

enum class RecordingDisplayStatus { recording, transcribed };

/// What the recording list tells of a recording beside its title.
struct RecordingDisplayMetadata {
    std::string duration; ///< minutes and seconds; minutes go on beyond 59
    RecordingDisplayStatus status{RecordingDisplayStatus::recording};

    bool operator==(const RecordingDisplayMetadata&) const = default;
};

struct RecordingDisplayMetadataBuilder {
    /// A recording without an end lasts until `now`.
    RecordingDisplayMetadata build(const RecordingSession& session, Date now) const;
};

} // namespace talkledger
