#pragma once

#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerPlatform/Audio/GrowingFile.h"
#include "TalkledgerPlatform/Audio/WriteHealth.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace talkledger {

/// Encodes AAC into an M4A file: fragments of one second while it is written, each synced to the disk, so that neither
/// a kill nor a power cut costs much more than the last one; a plain file with its index in front after
/// `finishWriting`. If that last step fails the fragmented file stays, whole and playable, and that is no failure. Used
/// by one thread at a time.
class M4AAssetWriter : public AssetWriter {
public:
    /// Creates the file; throws AudioFileError. `health` is called by whoever appends. Syncs and finishing run on
    /// `blockingExecutor`.
    M4AAssetWriter(const std::filesystem::path& path, AudioChannel channel, TrackHealthHandler health,
                   Executor blockingExecutor);
    ~M4AAssetWriter() override;
    M4AAssetWriter(const M4AAssetWriter&) = delete;
    M4AAssetWriter& operator=(const M4AAssetWriter&) = delete;

    bool canAddInput(const AssetWriterInputSettings& settings) const override;
    void addInput(const AssetWriterInputSettings& settings) override;
    void startWriting() override;
    void startSession(MonotonicTime time) override;
    bool isReadyForMoreMediaData() const override;

    /// Frames before the session's start, and frames for which there are samples already, are dropped.
    void append(const AudioBuffer& buffer) override;
    void markAsFinished() override;
    Task<void> finishWriting() override;
    void cancelWriting() noexcept override;
    AssetWriterStatus status() const override;
    std::optional<std::string> error() const override;

private:
    class Encoder;

    void finish();
    void fail(const std::string& description);
    std::int64_t framesUntil(MonotonicTime time) const;

    std::filesystem::path path_;
    WriteHealth health_;
    Executor blockingExecutor_;
    GrowingFile file_;
    bool hasInput_{false};
    AssetWriterInputSettings settings_;
    std::unique_ptr<Encoder> encoder_;
    bool hasSession_{false};
    MonotonicTime sessionStart_;
    AssetWriterStatus status_{AssetWriterStatus::unknown};
    std::optional<std::string> error_;
    bool isFinished_{false};
};

} // namespace talkledger
