#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/FileSystem.h"

#include <filesystem>
#include <functional>
#include <vector>

namespace talkledger {

struct RecordingArtifactStatus {
    RecordingArtifactKind kind{RecordingArtifactKind::micAudio};
    std::filesystem::path url;
    bool exists{false};

    bool operator==(const RecordingArtifactStatus&) const = default;
};

/// Which of a recording's files there are.
class RecordingArtifactStatusBuilder {
public:
    using FileExists = std::function<bool(const std::filesystem::path&)>;

    explicit RecordingArtifactStatusBuilder(FileExists fileExists);

    /// Asks `fileSystem`, which has to outlive the builder.
    explicit RecordingArtifactStatusBuilder(const FileSystem& fileSystem);

    std::vector<RecordingArtifactStatus> build(const RecordingSession& session) const;

    /// The two audio files only.
    std::vector<RecordingArtifactStatus> buildCaptureTrackStatuses(const RecordingSession& session) const;

private:
    RecordingArtifactStatus status(RecordingArtifactKind kind, const std::filesystem::path& url) const;

    FileExists fileExists_;
};

} // namespace talkledger
