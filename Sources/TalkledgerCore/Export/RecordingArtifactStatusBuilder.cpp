#include "TalkledgerCore/Export/RecordingArtifactStatusBuilder.h"

#include <utility>

namespace talkledger {

RecordingArtifactStatusBuilder::RecordingArtifactStatusBuilder(FileExists fileExists)
    : fileExists_(std::move(fileExists)) {}

RecordingArtifactStatusBuilder::RecordingArtifactStatusBuilder(const FileSystem& fileSystem)
    : fileExists_([&fileSystem](const std::filesystem::path& path) { return fileSystem.fileExists(path); }) {}

std::vector<RecordingArtifactStatus> RecordingArtifactStatusBuilder::build(const RecordingSession& session) const {
    std::vector<RecordingArtifactStatus> statuses = buildCaptureTrackStatuses(session);
    statuses.push_back(status(RecordingArtifactKind::transcript, session.artifacts.transcript));
    statuses.push_back(status(RecordingArtifactKind::summary, session.artifacts.summary));
    return statuses;
}

std::vector<RecordingArtifactStatus>
RecordingArtifactStatusBuilder::buildCaptureTrackStatuses(const RecordingSession& session) const {
    return {status(RecordingArtifactKind::micAudio, session.artifacts.micAudio),
            status(RecordingArtifactKind::speakerAudio, session.artifacts.speakerAudio)};
}

RecordingArtifactStatus RecordingArtifactStatusBuilder::status(RecordingArtifactKind kind,
                                                               const std::filesystem::path& url) const {
    return {.kind = kind, .url = url, .exists = fileExists_(url)};
}

} // namespace talkledger
