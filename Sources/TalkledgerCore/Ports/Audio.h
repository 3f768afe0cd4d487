#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Task.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// Capture of the microphone and of the computer's sound: what the recorders need from the sound system.
namespace talkledger {

/// A point on the machine's monotonic clock (CLOCK_MONOTONIC), the one clock that both tracks share.
using MonotonicTime = std::chrono::steady_clock::time_point;

enum class AudioSampleFormat { float32, int16 };

struct AudioFormat {
    AudioSampleFormat commonFormat{AudioSampleFormat::float32};
    double sampleRate{0}; ///< Hz
    std::uint32_t channelCount{0};
    bool isInterleaved{true};

    bool operator==(const AudioFormat&) const = default;
};

/// A run of samples with the time at which its first frame was captured. Samples are interleaved, or one channel after
/// the other when the format says so.
struct AudioBuffer {
    AudioFormat format;
    std::uint32_t frameLength{0};
    MonotonicTime time;
    std::vector<std::byte> samples;

    /// The samples of a float32 buffer; empty for any other format.
    std::span<const float> floatSamples() const;
};

/// A buffer that several receivers may read at once; it never changes.
using SharedAudioBuffer = std::shared_ptr<const AudioBuffer>;

/// What happened to a track. The device side (capture) and the file side (writer) report independently of each other.
enum class TrackHealthEvent {
    deviceRunning,    ///< samples arrive
    waitingForDevice, ///< no device, or no sound server; capture goes on by itself when it comes back
    fileWritten,      ///< the file takes samples (again)
    writeFailed,      ///< samples could not be written; capture goes on
};

/// Called on any thread; must not block.
using TrackHealthHandler = std::function<void(AudioChannel, TrackHealthEvent)>;

/// Called on the capture's delivery thread (never a realtime thread), one buffer at a time and in order. A tap that
/// throws misses that buffer and gets the next one.
using AudioTap = std::function<void(const AudioBuffer&)>;

/// One microphone capture. Called by one thread at a time; what is no task may block.
class AudioInputEngine {
public:
    AudioInputEngine() = default;
    AudioInputEngine(const AudioInputEngine&) = delete;
    AudioInputEngine& operator=(const AudioInputEngine&) = delete;
    virtual ~AudioInputEngine() = default;

    /// The default microphone's format: its own channels at the sound graph's rate, float samples. 0 channels: there is
    /// no microphone, or no sound server.
    virtual Task<AudioFormat> inputFormat() = 0;

    /// Buffers of about `bufferSize` frames in `format` go to `tap`, whatever device is behind them from then on.
    virtual void installTap(std::uint32_t bufferSize, const AudioFormat& format, AudioTap tap) = 0;

    /// Hands over what has been captured, and returns when no call of the tap is under way; none follows. Must not be
    /// called with a lock held that the tap takes.
    virtual void removeTap() noexcept = 0;

    /// Starts capturing, and keeps it up through device changes and a restarted sound server until `stop`. Throws when
    /// capture cannot be started now.
    virtual Task<void> start() = 0;
    virtual void stop() noexcept = 0;
};

/// Where microphone captures come from.
class AudioInput {
public:
    AudioInput() = default;
    AudioInput(const AudioInput&) = delete;
    AudioInput& operator=(const AudioInput&) = delete;
    virtual ~AudioInput() = default;

    virtual std::unique_ptr<AudioInputEngine> makeEngine() = 0;
};

/// Something whose sound can be captured: here, a sound output.
struct ShareableDisplay {
    std::string name;
};

struct ShareableContent {
    std::vector<ShareableDisplay> displays; ///< the default output first
};

/// The capture is of all that is played on `display`.
struct ContentFilter {
    ShareableDisplay display;
};

struct CaptureStreamConfiguration {
    bool capturesAudio{true};
    bool excludesCurrentProcessAudio{true}; ///< the program's own sounds are not recorded
    double sampleRate{48000};
    std::uint32_t channelCount{2};
};

enum class CaptureOutputType { screen, audio };

/// One delivery of a capture stream; `audio.time` is its presentation time.
struct CaptureSampleBuffer {
    CaptureOutputType type{CaptureOutputType::audio};
    bool isDataReady{true};
    AudioBuffer audio;
};

/// Receives what a capture stream delivers, on the stream's sample queue.
class CaptureStreamOutput {
public:
    virtual ~CaptureStreamOutput() = default;
    virtual void streamDidOutput(const CaptureSampleBuffer& sample) = 0;
    /// The stream ended for good, by a fault that it could not outlast.
    virtual void streamDidStop(const std::string& reason) = 0;
};

/// One capture of the computer's sound. Called on the main executor.
class CaptureStream {
public:
    CaptureStream() = default;
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;
    virtual ~CaptureStream() = default;

    /// `output` is held weakly. Samples arrive one at a time and in order on a queue of that name.
    virtual void addStreamOutput(std::weak_ptr<CaptureStreamOutput> output, const std::string& sampleQueueLabel) = 0;

    /// Starts capturing, and keeps it up through device changes and a restarted sound server until `stopCapture`.
    /// Throws when capture cannot be started now.
    virtual Task<void> startCapture() = 0;

    /// Hands over what has been captured, then stops; nothing is delivered after it returns.
    virtual Task<void> stopCapture() = 0;
};

/// Where captures of the computer's sound come from.
class SystemAudio {
public:
    SystemAudio() = default;
    SystemAudio(const SystemAudio&) = delete;
    SystemAudio& operator=(const SystemAudio&) = delete;
    virtual ~SystemAudio() = default;

    /// Throws with a user-visible description when the sound server cannot be reached.
    virtual Task<ShareableContent> shareableContent() = 0;
    virtual std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                                      const CaptureStreamConfiguration& configuration) = 0;
};

} // namespace talkledger
