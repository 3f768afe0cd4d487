#include "TalkledgerCore/Export/RecordingArtifactDiagnosticsBuilder.h"

#include <cmath>
#include <exception>
#include <utility>

namespace talkledger {

RecordingArtifactDiagnosticsBuilder::RecordingArtifactDiagnosticsBuilder(const FileSystem& fileSystem,
                                                                         AudioFiles& audioFiles)
    : fileSystem_(&fileSystem), audioFiles_(&audioFiles) {}

Task<RecordingArtifactDiagnostic>
RecordingArtifactDiagnosticsBuilder::buildDiagnostic(AudioChannel channel, std::filesystem::path url) const {
    RecordingArtifactDiagnostic diagnostic;
    diagnostic.channel = channel;
    diagnostic.fileName = url.filename().string();
    diagnostic.exists = fileSystem_->fileExists(url);
    if (diagnostic.exists) {
        diagnostic.byteCount = fileSystem_->fileSize(url).value_or(0);
    }
    diagnostic.isEmpty = diagnostic.byteCount == 0 || !diagnostic.exists;
    if (diagnostic.byteCount >= 1) {
        diagnostic.durationSeconds = co_await playableDuration(url);
    }
    co_return diagnostic;
}

Task<std::vector<RecordingArtifactDiagnostic>>
RecordingArtifactDiagnosticsBuilder::build(RecordingSession session) const {
    std::vector<RecordingArtifactDiagnostic> diagnostics;
    diagnostics.push_back(co_await buildDiagnostic(AudioChannel::mic, session.artifacts.micAudio));
    diagnostics.push_back(co_await buildDiagnostic(AudioChannel::speaker, session.artifacts.speakerAudio));
    co_return diagnostics;
}

Task<std::optional<double>> RecordingArtifactDiagnosticsBuilder::playableDuration(std::filesystem::path url) const {
    try {
        const std::optional<double> seconds = co_await audioFiles_->duration(url);
        if (seconds && std::isfinite(*seconds) && *seconds > 0) {
            co_return seconds;
        }
    } catch (const std::exception&) {
        // A file that cannot be measured has no known duration.
    }
    co_return std::nullopt;
}

} // namespace talkledger
