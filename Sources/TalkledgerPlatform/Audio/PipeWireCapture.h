#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerPlatform/Audio/CaptureTimeline.h"
#include "TalkledgerPlatform/Audio/OwnSound.h"
#include "TalkledgerPlatform/Audio/PipeWireConnection.h"
#include "TalkledgerPlatform/Audio/SampleRing.h"

#include <spa/param/audio/raw.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace talkledger {

/// Captures the default microphone, or what the default output plays, as one unbroken run of buffers. It moves to
/// another device when the default changes, comes back after an unplugged device, a restarted sound server or a
/// restarted session manager, and tries for as long as it is open.
///
/// Silence stands for what is missing. While nothing arrives it is delivered in arrears, up to one second ago; when
/// samples arrive again and at the end it is made up exactly.
///
/// Threads: the functions block (each as long as it says) and are called by one thread at a time, never by the loop
/// thread or from `Delivery`. Samples go from the realtime thread through a ring of several seconds to the delivery
/// thread, on which `Delivery` and the health handler are called.
class PipeWireCapture {
public:
    using Delivery = CaptureTimeline::Output;

    /// `ownSound` is taken out of what an output plays in two channels, if it is given.
    PipeWireCapture(CaptureSource source, TrackHealthHandler health, std::unique_ptr<OwnSound> ownSound = nullptr);
    ~PipeWireCapture();
    PipeWireCapture(const PipeWireCapture&) = delete;
    PipeWireCapture& operator=(const PipeWireCapture&) = delete;

    /// Links to the default device without capturing yet, and tells the format: `format` if given (float32,
    /// interleaved), otherwise the device's own channels at the graph's rate. Returns or throws SoundServerError within
    /// three seconds.
    AudioFormat open(const std::optional<AudioFormat>& format = std::nullopt);

    /// Captures from now on; opens first unless it is open with that format. Returns when the first samples have
    /// arrived; an output may be silent. An exception of `deliver` loses it that buffer, and no more. Throws
    /// SoundServerError otherwise, after five seconds at most.
    void start(const AudioFormat& format, std::uint32_t bufferSize, const std::string& threadName, Delivery deliver);

    /// Delivers what has been captured up to now; nothing is delivered after it returns.
    void endDelivery() noexcept;

    /// Ends the delivery and lets go of the device and the server.
    void close() noexcept;

    /// Lets go of a capture from any thread. Its receiver may have died in a delivery, and its owner with it; the
    /// delivery thread cannot wait for itself, so the capture then ends on `executor`.
    static void release(std::shared_ptr<PipeWireCapture> capture, const Executor& executor);

private:
    struct Cycle;
    struct Stream;

    /// Closes, and throws what the server said last.
    [[noreturn]] void fail();
    bool waitForArrival();

    void supervise();
    bool isStalled() const;
    std::chrono::milliseconds untilNextSupervision(MonotonicTime now) const;
    void openStream(const CaptureDevice& device);
    void closeStream();
    void retryLater();

    void streamStateChanged(pw_stream_state state, const char* error);
    void streamFormatChanged(const spa_pod* parameter);
    Cycle originOfArrival(Stream& stream) const noexcept;
    void capture(Stream& stream, pw_buffer& buffer) noexcept;

    void deliver(CaptureTimeline& timeline, std::uint32_t bufferSize);
    void deliverArrived(CaptureTimeline& timeline, MonotonicTime& lastArrival);
    void handOver(const AudioBuffer& buffer) noexcept;
    void drain(CaptureTimeline& timeline, MonotonicTime& lastArrival);
    void publishHealth(TrackHealthEvent event);
    void wakeDelivery() noexcept;

    static const pw_stream_events streamEvents;

    const CaptureSource source_;
    const TrackHealthHandler health_;

    // Guarded by the connection's lock.
    bool isOpen_{false};
    std::unique_ptr<Stream> stream_;
    const std::unique_ptr<OwnSound> ownSound_; ///< none: it is captured like any other; its header says what is whose
    std::optional<spa_audio_info_raw> format_; ///< of every stream from the moment it is known
    std::string failure_;                      ///< what the server said last
    std::string target_;                       ///< the default device; empty: none
    MonotonicTime targetChanged_;
    MonotonicTime defaultsAsked_;
    MonotonicTime nextAttempt_;
    std::chrono::milliseconds retryDelay_;
    std::uint32_t streamCount_{0};
    bool hasArrived_{false}; ///< the first samples

    // Shared with the realtime thread and the delivery thread.
    std::unique_ptr<SampleRing> ring_; ///< set before `isCapturing_`
    std::atomic<bool> isCapturing_{false};
    std::atomic<bool> isAway_{false};           ///< there is no device to wait for
    std::atomic<std::int64_t> lastCallback_{0}; ///< CLOCK_MONOTONIC ns; 0: none since the stream was opened
    std::atomic<std::uint32_t> wakeFrames_{0};  ///< so many waiting frames wake the delivery thread
    int wakeDescriptor_;

    // The delivery thread's own, and its caller's before and after.
    Delivery deliver_;
    AudioFormat trackFormat_;
    MonotonicTime startTime_;
    MonotonicTime stopTime_;
    std::atomic<bool> isStopping_{false};
    std::optional<TrackHealthEvent> publishedHealth_;
    std::thread deliveryThread_;
    std::atomic<std::thread::id> deliveryThreadId_; ///< told by the thread itself: it may run before it is stored

    PipeWireConnection connection_; // last: its thread uses what stands above
};

} // namespace talkledger
