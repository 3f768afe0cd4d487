#pragma once

#include "TalkledgerCore/Capture/AudioCaptureError.h"
#include "TalkledgerCore/Capture/AudioRecorder.h"
#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerCore/Ports/Authorization.h"
#include "TalkledgerCore/Ports/FileSystem.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// The two capture tracks. Both are made with `std::make_shared`: what captures for them holds them weakly. Each has
/// one lock, which also keeps a file from being finished in the middle of a write; handlers are called outside it, on
/// the capture's delivery thread. The ports have to outlive the recorders.
namespace talkledger {

/// Receives a copy of every captured buffer. Must not block.
using LiveTranscriptBufferHandler = std::function<void(SharedAudioBuffer)>;

/// Records the default microphone into an uncompressed file in the microphone's own format.
class MicrophoneWAVRecorder final : public AudioRecorder, public std::enable_shared_from_this<MicrophoneWAVRecorder> {
public:
    /// Receives each buffer's level, 0 to 1, and 0 when the recording stops (on the main executor).
    using LevelHandler = std::function<void(double)>;

    static constexpr std::chrono::seconds defaultPermissionTimeout{8};

    /// Either handler may be empty. What a slow disk or sound server may hold up when it stops runs on `background`.
    MicrophoneWAVRecorder(AudioInput& audioInput, AudioFiles& audioFiles, Authorization& authorization,
                          FileSystem& fileSystem, Executor background,
                          std::shared_ptr<RecordingTimelineRecorder> timeline, LevelHandler levelHandler,
                          LiveTranscriptBufferHandler liveTranscriptBufferHandler,
                          std::chrono::duration<double> permissionTimeout = defaultPermissionTimeout);

    Task<void> startRecording(std::filesystem::path to) override;
    Task<void> stopRecording() override;

private:
    void receive(const AudioBuffer& buffer);
    bool write(const AudioBuffer& buffer);
    void stopCapture();

    AudioInput& audioInput_;
    AudioFiles& audioFiles_;
    Authorization& authorization_;
    FileSystem& fileSystem_;
    const Executor background_;
    const std::shared_ptr<RecordingTimelineRecorder> timeline_;
    const LevelHandler levelHandler_;
    const LiveTranscriptBufferHandler liveTranscriptBufferHandler_;
    const std::chrono::duration<double> permissionTimeout_;

    std::mutex lock_; ///< guards what follows
    std::shared_ptr<AudioInputEngine> engine_;
    std::unique_ptr<AudioFile> audioFile_;
    bool awaitsFirstBuffer_{false};
};

/// Records what the computer plays into an AAC file. Its time line begins with the first sample; a recording without
/// any leaves an empty file.
class SystemAudioM4ARecorder final : public AudioRecorder,
                                     public CaptureStreamOutput,
                                     public std::enable_shared_from_this<SystemAudioM4ARecorder> {
public:
    /// The handler may be empty.
    SystemAudioM4ARecorder(SystemAudio& systemAudio, AudioFiles& audioFiles, FileSystem& fileSystem,
                           std::shared_ptr<RecordingTimelineRecorder> timeline,
                           LiveTranscriptBufferHandler liveTranscriptBufferHandler);

    Task<void> startRecording(std::filesystem::path to) override;
    Task<void> stopRecording() override;

    void streamDidOutput(const CaptureSampleBuffer& sample) override;
    void streamDidStop(const std::string& reason) override;

private:
    struct Output {
        std::shared_ptr<AssetWriter> writer;
        bool isStarted{false}; ///< by the first sample
        std::optional<std::filesystem::path> url;
    };

    Task<ShareableContent> shareableContent();
    std::unique_ptr<AssetWriter> makeWriter(const std::filesystem::path& file);
    Task<void> finish(Output output);

    SystemAudio& systemAudio_;
    AudioFiles& audioFiles_;
    FileSystem& fileSystem_;
    const std::shared_ptr<RecordingTimelineRecorder> timeline_;
    const LiveTranscriptBufferHandler liveTranscriptBufferHandler_;

    std::mutex lock_; ///< guards what follows
    std::shared_ptr<CaptureStream> stream_;
    Output output_;
};

} // namespace talkledger
