#include "TalkledgerPlatform/Audio/SampleRing.h"

#include <algorithm>

namespace talkledger {
namespace {

/// The smallest usual quantum is 32 frames; larger packets leave descriptors over.
constexpr std::size_t kSmallestPacketFrames = 32;

} // namespace

SampleRing::SampleRing(std::uint32_t channelCount, std::size_t capacityFrames)
    : channelCount_(channelCount),
      samples_(channelCount * capacityFrames),
      packets_(capacityFrames / kSmallestPacketFrames + 1) {}

bool SampleRing::push(const CapturePacket& packet, const float* samples) noexcept {
    const std::size_t capacityFrames = samples_.size() / channelCount_;
    const std::uint64_t written = framesWritten_.load(std::memory_order_relaxed);
    const std::uint64_t packetNumber = packetsWritten_.load(std::memory_order_relaxed);
    if (packet.frames > capacityFrames - (written - framesRead_.load(std::memory_order_acquire)) ||
        packetNumber - packetsRead_.load(std::memory_order_acquire) == packets_.size()) {
        return false;
    }
    const std::size_t place = static_cast<std::size_t>(written % capacityFrames) * channelCount_;
    const std::size_t count = packet.frames * channelCount_;
    const std::size_t untilEnd = std::min(count, samples_.size() - place);
    if (samples != nullptr) {
        std::copy_n(samples, untilEnd, samples_.data() + place);
        std::copy_n(samples + untilEnd, count - untilEnd, samples_.data());
    } else {
        std::fill_n(samples_.data() + place, untilEnd, 0.0F);
        std::fill_n(samples_.data(), count - untilEnd, 0.0F);
    }
    packets_[static_cast<std::size_t>(packetNumber % packets_.size())] = packet;
    framesWritten_.store(written + packet.frames, std::memory_order_release);
    packetsWritten_.store(packetNumber + 1, std::memory_order_release);
    return true;
}

bool SampleRing::pop(CapturePacket& packet, std::vector<float>& samples) {
    const std::uint64_t packetNumber = packetsRead_.load(std::memory_order_relaxed);
    if (packetNumber == packetsWritten_.load(std::memory_order_acquire)) {
        return false;
    }
    packet = packets_[static_cast<std::size_t>(packetNumber % packets_.size())];
    const std::uint64_t read = framesRead_.load(std::memory_order_relaxed);
    const std::size_t place = static_cast<std::size_t>(read % (samples_.size() / channelCount_)) * channelCount_;
    const std::size_t count = packet.frames * channelCount_;
    const std::size_t untilEnd = std::min(count, samples_.size() - place);
    samples.resize(count);
    std::copy_n(samples_.data() + place, untilEnd, samples.data());
    std::copy_n(samples_.data(), count - untilEnd, samples.data() + untilEnd);
    framesRead_.store(read + packet.frames, std::memory_order_release);
    packetsRead_.store(packetNumber + 1, std::memory_order_release);
    return true;
}

std::size_t SampleRing::framesReady() const noexcept {
    // Read before written: the other way round the difference could go below zero.
    const std::uint64_t read = framesRead_.load(std::memory_order_acquire);
    return static_cast<std::size_t>(framesWritten_.load(std::memory_order_acquire) - read);
}

} // namespace talkledger
