#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Support/Task.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

/// Audio files that are written while they are captured, and the measuring of finished ones.
namespace talkledger {

/// An open uncompressed file, readable by others at every moment. Closed by its destructor. Calls are never concurrent.
class AudioFile {
public:
    AudioFile() = default;
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;
    virtual ~AudioFile() = default;

    /// Throws when the buffer could not be written whole.
    virtual void write(const AudioBuffer& buffer) = 0;
};

enum class AssetFileType { m4a };

enum class AssetAudioFormat { mpeg4AAC };

struct AssetWriterInputSettings {
    AssetAudioFormat formatID{AssetAudioFormat::mpeg4AAC};
    double sampleRate{48000};
    std::uint32_t channelCount{2};
    std::uint32_t encoderBitRate{128000}; ///< bits per second
    bool expectsMediaDataInRealTime{true};
};

enum class AssetWriterStatus { unknown, writing, completed, failed, cancelled };

/// Encodes one audio input into a compressed file that stays playable up to its last second while it grows. Calls are
/// never concurrent; `append` runs on the capture's delivery thread, the rest where the caller's lock allows.
class AssetWriter {
public:
    AssetWriter() = default;
    AssetWriter(const AssetWriter&) = delete;
    AssetWriter& operator=(const AssetWriter&) = delete;
    virtual ~AssetWriter() = default;

    virtual bool canAddInput(const AssetWriterInputSettings& settings) const = 0;
    virtual void addInput(const AssetWriterInputSettings& settings) = 0;

    /// Failures from here on show in `status`.
    virtual void startWriting() = 0;

    /// The file's time line begins at `time`.
    virtual void startSession(MonotonicTime time) = 0;
    virtual bool isReadyForMoreMediaData() const = 0;

    /// Frames that are missing before the buffer's time are filled with silence.
    virtual void append(const AudioBuffer& buffer) = 0;
    virtual void markAsFinished() = 0;

    /// Completes the file; the outcome is in `status`.
    virtual Task<void> finishWriting() = 0;

    /// Stops writing; what is on disk stays there.
    virtual void cancelWriting() noexcept = 0;
    virtual AssetWriterStatus status() const = 0;

    /// The description of what failed; absent without a failure.
    virtual std::optional<std::string> error() const = 0;
};

class AudioFiles {
public:
    AudioFiles() = default;
    AudioFiles(const AudioFiles&) = delete;
    AudioFiles& operator=(const AudioFiles&) = delete;
    virtual ~AudioFiles() = default;

    /// An uncompressed file that keeps the format as it is. Throws when it cannot be created. The file of `channel`
    /// reports failed and resumed writing as that track's health.
    virtual std::unique_ptr<AudioFile> createFile(const std::filesystem::path& path, const AudioFormat& format,
                                                  AudioChannel channel) = 0;

    /// Throws when the file cannot be created.
    virtual std::unique_ptr<AssetWriter> makeAssetWriter(const std::filesystem::path& path, AssetFileType type,
                                                         AudioChannel channel) = 0;

    /// The playable duration in seconds; absent when the file cannot be read as audio or does not tell.
    virtual Task<std::optional<double>> duration(const std::filesystem::path& path) = 0;

    /// Completes a compressed file whose writing was cut off; one that cannot be completed stays as it is.
    virtual Task<void> mend(std::filesystem::path path) = 0;
};

} // namespace talkledger
