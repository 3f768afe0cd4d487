#include "TalkledgerCore/Export/RecordingDiagnostics.h"

#include "TalkledgerCore/Model/ModelsJson.h"

#include <nlohmann/json.hpp>

namespace talkledger {

Json toJson(const RecordingArtifactDiagnostic& diagnostic) {
    Json object = {{"channel", rawValue(diagnostic.channel)},
                   {"fileName", diagnostic.fileName},
                   {"exists", diagnostic.exists},
                   {"byteCount", diagnostic.byteCount},
                   {"isEmpty", diagnostic.isEmpty}};
    if (diagnostic.durationSeconds) {
        object["durationSeconds"] = *diagnostic.durationSeconds;
    }
    return object;
}

Json toJson(const RecordingDiagnostics& diagnostics) {
    Json artifacts = Json::array();
    for (const RecordingArtifactDiagnostic& artifact : diagnostics.artifacts) {
        artifacts.push_back(toJson(artifact));
    }
    return {{"microphoneStarted", diagnostics.microphoneStarted},
            {"systemAudioStarted", diagnostics.systemAudioStarted},
            {"messages", diagnostics.messages},
            {"artifacts", std::move(artifacts)}};
}

template <>
RecordingArtifactDiagnostic fromJson(const JsonReader& reader) {
    const auto duration = reader.optional("durationSeconds");
    return {.channel = fromJson<AudioChannel>(reader.required("channel")),
            .fileName = reader.required("fileName").string(),
            .exists = reader.required("exists").boolean(),
            .byteCount = reader.required("byteCount").integer(),
            .durationSeconds = duration ? std::optional(duration->number()) : std::nullopt,
            .isEmpty = reader.required("isEmpty").boolean()};
}

template <>
RecordingDiagnostics fromJson(const JsonReader& reader) {
    const auto artifacts = reader.optional("artifacts");
    return {.microphoneStarted = reader.required("microphoneStarted").boolean(),
            .systemAudioStarted = reader.required("systemAudioStarted").boolean(),
            .messages = reader.required("messages").strings(),
            .artifacts = artifacts ? listFromJson<RecordingArtifactDiagnostic>(*artifacts)
                                   : std::vector<RecordingArtifactDiagnostic>()};
}

} // namespace talkledger
