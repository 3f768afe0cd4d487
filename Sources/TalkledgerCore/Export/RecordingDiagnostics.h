#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// How a recording's capture went, as kept in its "diagnostics.json".
namespace talkledger {

/// One measured audio file.
struct RecordingArtifactDiagnostic {
    AudioChannel channel{AudioChannel::mic};
    std::string fileName;
    bool exists{false};
    std::int64_t byteCount{0};
    std::optional<double> durationSeconds; ///< absent when unknown
    bool isEmpty{true};                    ///< missing or zero bytes; a bare header is not empty

    bool operator==(const RecordingArtifactDiagnostic&) const = default;
};

struct RecordingDiagnostics {
    bool microphoneStarted{false};
    bool systemAudioStarted{false};
    std::vector<std::string> messages; ///< English, in the order in which they occurred
    std::vector<RecordingArtifactDiagnostic> artifacts;

    bool operator==(const RecordingDiagnostics&) const = default;
};

Json toJson(const RecordingArtifactDiagnostic& diagnostic);
Json toJson(const RecordingDiagnostics& diagnostics);

template <>
RecordingArtifactDiagnostic fromJson(const JsonReader& reader);
template <>
RecordingDiagnostics fromJson(const JsonReader& reader);

} // namespace talkledger
