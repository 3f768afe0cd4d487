#pragma once

#include "TalkledgerCore/Ports/AudioFiles.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace talkledger {

/// Audio files through libsndfile (WAV) and FFmpeg (M4A, durations). Creating a file blocks shortly; syncing,
/// finishing and measuring run on `blockingExecutor`. Any thread. Keeps FFmpeg from writing to the standard error: it
/// would comment on every damaged file.
class PlatformAudioFiles : public AudioFiles {
public:
    /// `health` is called by whoever writes to a file.
    PlatformAudioFiles(Executor blockingExecutor, TrackHealthHandler health);

    std::unique_ptr<AudioFile> createFile(const std::filesystem::path& path, const AudioFormat& format,
                                          AudioChannel channel) override;
    std::unique_ptr<AssetWriter> makeAssetWriter(const std::filesystem::path& path, AssetFileType type,
                                                 AudioChannel channel) override;
    Task<std::optional<double>> duration(const std::filesystem::path& path) override;
    Task<void> mend(std::filesystem::path path) override;

private:
    Executor blockingExecutor_;
    TrackHealthHandler health_;
};

} // namespace talkledger
