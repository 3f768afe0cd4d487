#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace talkledger {

/// What one realtime callback captured, without its samples.
struct CapturePacket {
    std::int64_t firstFrameTime{0};  ///< CLOCK_MONOTONIC ns at which the first frame was captured
    std::uint64_t ticks{0};          ///< the graph's own position of the first frame
    std::uint32_t ticksPerSecond{0}; ///< 0: unknown
    std::uint32_t cycleLength{0};    ///< in ticks, as the graph told it
    std::uint32_t driver{0};         ///< the node that gives the graph its beat: a position is its own
    std::uint32_t streamNumber{0};   ///< positions are comparable only within one stream
    std::uint32_t frames{0};
};

/// Hands samples from a realtime thread to a normal one without a lock or an allocation. `push` belongs to one thread,
/// `pop` to one other; the counts may be read by both. A full ring drops the packet whole.
class SampleRing {
public:
    SampleRing(std::uint32_t channelCount, std::size_t capacityFrames);

    /// `samples` are interleaved; null means silence. False when the packet did not fit.
    bool push(const CapturePacket& packet, const float* samples) noexcept;

    /// False when the ring is empty. `samples` is replaced.
    bool pop(CapturePacket& packet, std::vector<float>& samples);

    std::size_t framesReady() const noexcept;

private:
    std::size_t channelCount_;
    std::vector<float> samples_;
    std::vector<CapturePacket> packets_;
    // Counts that only grow; the place in a ring is the count modulo its size.
    std::atomic<std::uint64_t> framesWritten_{0};
    std::atomic<std::uint64_t> framesRead_{0};
    std::atomic<std::uint64_t> packetsWritten_{0};
    std::atomic<std::uint64_t> packetsRead_{0};
};

} // namespace talkledger
