#pragma once

#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Support/Task.h"

namespace talkledger {

/// Measures a recording's audio files. Never fails: what cannot be told is 0 or absent. The ports have to outlive it.
class RecordingArtifactDiagnosticsBuilder {
public:
    RecordingArtifactDiagnosticsBuilder(const FileSystem& fileSystem, AudioFiles& audioFiles);

    Task<RecordingArtifactDiagnostic> buildDiagnostic(AudioChannel channel, std::filesystem::path url) const;

    /// The microphone's file, then the computer's sound.
    Task<std::vector<RecordingArtifactDiagnostic>> build(RecordingSession session) const;

private:
    Task<std::optional<double>> playableDuration(std::filesystem::path url) const;

    const FileSystem* fileSystem_;
    AudioFiles* audioFiles_;
};

} // namespace talkledger
