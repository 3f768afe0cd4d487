#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerPlatform/Audio/SampleRing.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace talkledger {

/// Makes one unbroken run of buffers from captured packets. The line begins with its first packet and counts frames
/// from there: a frame's time is the beginning plus its number over the rate. Frames that were lost (missed cycles, a
/// device that is away, a restarted server) become silence, so that count and clock stay together. The device's own
/// clock is trusted as long as its packets follow each other; its drift is taken up at the next gap.
///
/// When the graph's cycles get longer the server hands out more than the time that passes, when they get shorter less,
/// and its positions tell of neither. The monotonic clock decides then: what is missing becomes silence, and what is
/// too much is taken out of the next silence, never out of a sound. Not thread-safe.
class CaptureTimeline {
public:
    /// The buffer is reused after the call.
    using Output = std::function<void(const AudioBuffer&)>;

    /// `format` is interleaved float32; the rate is taken as whole Hz. Buffers have `bufferSize` frames; the last one
    /// has what is left.
    CaptureTimeline(const AudioFormat& format, std::uint32_t bufferSize, Output output);

    bool hasBegun() const { return hasBegun_; }

    /// Where the line ends now, frames not yet handed over included. Only after it has begun.
    MonotonicTime end() const;

    /// Begins the line without a packet: until one arrives there is silence.
    void begin(MonotonicTime time);

    void add(const CapturePacket& packet, std::span<const float> samples);

    /// Adds silence up to `time`. Packets that arrive late for it are cut to what comes after it.
    void fillTo(MonotonicTime time);

    /// Hands over the frames that do not fill a buffer.
    void flush();

private:
    /// Frames between the line's end and `time`, below zero when the line is ahead.
    std::int64_t framesUntil(MonotonicTime time) const;

    /// Frames between the line's end and the place of `packet`, below zero when the line is ahead.
    std::int64_t framesMissingBefore(const CapturePacket& packet) const;
    std::int64_t framesMissingByClock(const CapturePacket& packet) const;
    std::int64_t framesMissingByTicks(const CapturePacket& packet, std::int64_t lost) const;

    /// Of the same stream as the packet before, without a filling in between.
    bool continuesLine(const CapturePacket& packet) const;
    void watchBeat(const CapturePacket& packet);
    void watchDrift(const CapturePacket& packet, std::int64_t missing);

    /// Nothing was captured since the line was begun or filled without a packet.
    bool endsInSilence() const { return frames_ == silenceEnd_; }

    MonotonicTime timeOf(std::uint64_t frame) const;
    void appendSilence(std::uint64_t frames);
    void append(const float* samples, std::size_t frames); // null: silence
    void handOver();

    std::uint64_t rate_;
    std::uint32_t bufferSize_;
    Output output_;
    AudioBuffer buffer_;
    bool hasBegun_{false};
    MonotonicTime begin_;
    std::uint64_t frames_{0};     ///< on the line so far
    std::uint64_t silenceEnd_{0}; ///< where the last `fillTo` ended
    std::int64_t surplus_{0};     ///< frames to be taken out of the next silence
    double drift_{0};             ///< frames by which the device's own clock has fallen behind the monotonic one
    int unsteadyPackets_{0};      ///< so many, from the current one on, follow a change of the beat
    std::optional<CapturePacket> previous_;
};

} // namespace talkledger
