#include "TalkledgerPlatform/Audio/CaptureTimeline.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace talkledger {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

/// While the stream's converter resamples, packets differ by a frame or two from the cycle's ticks.
constexpr std::int64_t kResamplingTolerance = 8;

} // namespace

CaptureTimeline::CaptureTimeline(const AudioFormat& format, std::uint32_t bufferSize, Output output)
    : rate_(static_cast<std::uint64_t>(std::llround(format.sampleRate))),
      bufferSize_(bufferSize),
      output_(std::move(output)) {
    buffer_.format = format;
    buffer_.samples.reserve(std::size_t{bufferSize} * format.channelCount * sizeof(float));
}

MonotonicTime CaptureTimeline::timeOf(std::uint64_t frame) const {
    // Whole seconds apart: a day of frames times a billion would overflow.
    const auto rest = static_cast<std::int64_t>((frame % rate_) * kNanosecondsPerSecond / rate_);
    return begin_ + std::chrono::seconds(frame / rate_) + std::chrono::nanoseconds(rest);
}

MonotonicTime CaptureTimeline::end() const {
    return timeOf(frames_);
}

std::int64_t CaptureTimeline::framesUntil(MonotonicTime time) const {
    const std::chrono::duration<double> distance = time - end();
    return std::llround(distance.count() * static_cast<double>(rate_));
}

void CaptureTimeline::begin(MonotonicTime time) {
    begin_ = time;
    hasBegun_ = true;
}

std::int64_t CaptureTimeline::framesMissingBefore(const CapturePacket& packet) const {
    std::int64_t lostByTicks = 0;
    if (previous_ && !endsInSilence() && previous_->streamNumber == packet.streamNumber && packet.ticksPerSecond != 0) {
        const std::int64_t ticks = static_cast<std::int64_t>(packet.ticks - previous_->ticks);
        const std::int64_t elapsed = ticks * static_cast<std::int64_t>(rate_) / packet.ticksPerSecond;
        lostByTicks = elapsed - previous_->frames;
        if (std::abs(lostByTicks) <= (packet.ticksPerSecond == rate_ ? 0 : kResamplingTolerance)) {
            return 0;
        }
    }
    // A change of driver makes ticks jump without a loss, and moves the cycle by less than half its length.
    const MonotonicTime time{std::chrono::nanoseconds(packet.firstFrameTime)};
    const std::int64_t lostByClock = framesUntil(time);
    const std::int64_t tolerance = packet.frames / 2;
    if (std::abs(lostByClock) < tolerance) {
        return 0;
    }
    return std::abs(lostByClock - lostByTicks) < tolerance ? lostByTicks : lostByClock;
}

void CaptureTimeline::add(const CapturePacket& packet, std::span<const float> samples) {
    std::int64_t missing = 0;
    if (hasBegun_) {
        missing = framesMissingBefore(packet);
    } else {
        begin(MonotonicTime(std::chrono::nanoseconds(packet.firstFrameTime)));
    }
    std::size_t late = 0;
    if (missing > 0) {
        appendSilence(static_cast<std::uint64_t>(missing));
    } else if (endsInSilence()) {
        late = std::min<std::size_t>(packet.frames, static_cast<std::size_t>(-missing));
    }
    append(samples.data() + late * buffer_.format.channelCount, packet.frames - late);
    previous_ = packet;
}

void CaptureTimeline::fillTo(MonotonicTime time) {
    const std::int64_t missing = framesUntil(time);
    if (missing > 0) {
        appendSilence(static_cast<std::uint64_t>(missing));
        silenceEnd_ = frames_;
    }
}

void CaptureTimeline::appendSilence(std::uint64_t frames) {
    while (frames > 0) {
        const std::uint64_t part = std::min<std::uint64_t>(frames, bufferSize_);
        append(nullptr, static_cast<std::size_t>(part));
        frames -= part;
    }
}

void CaptureTimeline::append(const float* samples, std::size_t frames) {
    const std::size_t frameBytes = buffer_.format.channelCount * sizeof(float);
    while (frames > 0) {
        if (buffer_.frameLength == 0) {
            buffer_.time = end();
        }
        const std::size_t part = std::min<std::size_t>(frames, bufferSize_ - buffer_.frameLength);
        const std::size_t place = buffer_.samples.size();
        buffer_.samples.resize(place + part * frameBytes);
        if (samples != nullptr) {
            std::memcpy(buffer_.samples.data() + place, samples, part * frameBytes);
            samples += part * buffer_.format.channelCount;
        }
        buffer_.frameLength += static_cast<std::uint32_t>(part);
        frames_ += part;
        frames -= part;
        if (buffer_.frameLength == bufferSize_) {
            handOver();
        }
    }
}

void CaptureTimeline::flush() {
    if (buffer_.frameLength > 0) {
        handOver();
    }
}

void CaptureTimeline::handOver() {
    output_(buffer_);
    buffer_.frameLength = 0;
    buffer_.samples.clear();
}

} // namespace talkledger
