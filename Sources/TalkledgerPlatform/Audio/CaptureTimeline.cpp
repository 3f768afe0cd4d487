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

/// After a change of the beat the positions of one or two packets do not tell how much time has passed.
constexpr int kUnsteadyPackets = 4;

/// The clock may be out by half a millisecond; the lengths of cycles differ by more.
constexpr std::int64_t kClockTolerancesPerSecond = 2000;

/// Drift is slow: a late packet must not look like it.
constexpr double kDriftSmoothing = 16;

MonotonicTime captureTime(const CapturePacket& packet) {
    return MonotonicTime(std::chrono::nanoseconds(packet.firstFrameTime));
}

bool haveSameBeat(const CapturePacket& one, const CapturePacket& other) {
    return one.driver == other.driver && one.ticksPerSecond == other.ticksPerSecond &&
           one.cycleLength == other.cycleLength;
}

/// Between `previous` and `packet`, by the graph's own positions.
std::int64_t framesLost(const CapturePacket& previous, const CapturePacket& packet, std::uint64_t rate) {
    const auto ticks = static_cast<std::int64_t>(packet.ticks - previous.ticks);
    const std::int64_t lost = ticks * static_cast<std::int64_t>(rate) / packet.ticksPerSecond - previous.frames;
    return std::abs(lost) <= (packet.ticksPerSecond == rate ? 0 : kResamplingTolerance) ? 0 : lost;
}

bool isSilent(std::span<const float> samples) {
    return std::all_of(samples.begin(), samples.end(), [](float sample) { return sample == 0; });
}

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

void CaptureTimeline::watchBeat(const CapturePacket& packet) {
    if (previous_ && !haveSameBeat(*previous_, packet)) {
        unsteadyPackets_ = kUnsteadyPackets;
    } else if (unsteadyPackets_ > 0) {
        --unsteadyPackets_;
    }
}

void CaptureTimeline::watchDrift(const CapturePacket& packet, std::int64_t missing) {
    if (!continuesLine(packet)) {
        drift_ = 0;
    } else if (unsteadyPackets_ == 0) {
        const auto behind = static_cast<double>(framesUntil(captureTime(packet)) - missing);
        drift_ += (behind - drift_) / kDriftSmoothing;
    }
}

bool CaptureTimeline::continuesLine(const CapturePacket& packet) const {
    return previous_ && previous_->streamNumber == packet.streamNumber && !endsInSilence();
}

std::int64_t CaptureTimeline::framesMissingBefore(const CapturePacket& packet) const {
    if (!previous_ || !continuesLine(packet)) {
        return framesUntil(captureTime(packet));
    }
    if (unsteadyPackets_ > 0 || packet.ticksPerSecond == 0) {
        return framesMissingByClock(packet);
    }
    const std::int64_t lost = framesLost(*previous_, packet, rate_);
    return lost == 0 ? -surplus_ : framesMissingByTicks(packet, lost);
}

std::int64_t CaptureTimeline::framesMissingByClock(const CapturePacket& packet) const {
    const std::int64_t missing = framesUntil(captureTime(packet)) - std::llround(drift_);
    const std::int64_t tolerance = static_cast<std::int64_t>(rate_) / kClockTolerancesPerSecond;
    return std::abs(missing + surplus_) <= tolerance ? -surplus_ : missing;
}

std::int64_t CaptureTimeline::framesMissingByTicks(const CapturePacket& packet, std::int64_t lost) const {
    const std::int64_t byTicks = lost - surplus_;
    const std::int64_t byClock = framesUntil(captureTime(packet));
    const std::int64_t tolerance = packet.frames / 2;
    if (std::abs(byClock) < tolerance) {
        return 0; // positions that begin anew are no loss
    }
    return std::abs(byClock - byTicks) < tolerance ? byTicks : byClock;
}

void CaptureTimeline::add(const CapturePacket& packet, std::span<const float> samples) {
    if (!hasBegun_) {
        begin(captureTime(packet));
    }
    watchBeat(packet);
    const std::int64_t missing = framesMissingBefore(packet);
    watchDrift(packet, missing);
    surplus_ = std::max<std::int64_t>(-missing, 0);
    std::size_t dropped = 0;
    if (missing > 0) {
        appendSilence(static_cast<std::uint64_t>(missing));
    } else if (missing < 0 && (endsInSilence() || isSilent(samples))) {
        dropped = std::min<std::size_t>(packet.frames, static_cast<std::size_t>(surplus_));
        surplus_ -= static_cast<std::int64_t>(dropped);
    }
    append(samples.data() + dropped * buffer_.format.channelCount, packet.frames - dropped);
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
