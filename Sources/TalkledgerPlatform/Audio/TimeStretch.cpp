#include "TalkledgerPlatform/Audio/TimeStretch.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace talkledger {
namespace {

constexpr std::size_t kChannels = 2;

/// At 48 kHz 43 ms, long enough for the deepest voice and short enough for a syllable.
constexpr std::size_t kPiece = 2048;
constexpr std::size_t kHop = kPiece / 2;

/// How far a piece may be moved to fit the one before: a period of the deepest voice.
constexpr std::size_t kReach = 512;

/// Only every so many frames are compared, and places tried: voices have little above.
constexpr std::size_t kStride = 4;

float rising(std::size_t frame) {
    return static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(frame) / kHop));
}

} // namespace

TimeStretch::TimeStretch(double speed, Source source)
    : speed_(speed), source_(std::move(source)), overlap_(kHop * kChannels) {}

std::size_t TimeStretch::read(std::span<float> interleaved) {
    if (speed_ == 1) {
        return source_(interleaved);
    }
    std::size_t written = 0;
    while (written < interleaved.size()) {
        if (taken_ == output_.size()) {
            output_.clear();
            taken_ = 0;
            makePiece();
            if (output_.empty()) {
                break;
            }
        }
        const std::size_t count = std::min(interleaved.size() - written, output_.size() - taken_);
        std::copy_n(output_.begin() + static_cast<std::ptrdiff_t>(taken_), count,
                    interleaved.begin() + static_cast<std::ptrdiff_t>(written));
        taken_ += count;
        written += count;
    }
    return written / kChannels;
}

void TimeStretch::makePiece() {
    const auto wanted = static_cast<std::size_t>(place_);
    require(std::max(wanted, continuation_) + kReach + kPiece);
    if (hasEnded_ && wanted >= framesLeft_) {
        return;
    }
    const std::size_t begin = isFirst_ ? wanted : bestOffset(wanted);
    const float* const piece = input_.data() + begin * kChannels;
    for (std::size_t frame = 0; frame < kHop; ++frame) {
        const float gain = isFirst_ ? 1 : rising(frame);
        for (std::size_t side = 0; side < kChannels; ++side) {
            const std::size_t index = frame * kChannels + side;
            output_.push_back(overlap_[index] + gain * piece[index]);
            overlap_[index] = (1 - rising(frame)) * piece[kHop * kChannels + index];
        }
    }
    isFirst_ = false;
    continuation_ = begin + kHop;
    place_ += kHop * speed_;
    // What no later piece can reach is let go.
    const std::size_t oldest = std::min(continuation_, static_cast<std::size_t>(std::max(place_ - kReach, 0.0)));
    input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(oldest * kChannels));
    place_ -= static_cast<double>(oldest);
    continuation_ -= oldest;
    framesLeft_ -= std::min(framesLeft_, hasEnded_ ? oldest : 0);
}

void TimeStretch::require(std::size_t frames) {
    const std::size_t there = input_.size() / kChannels;
    if (there >= frames) {
        return;
    }
    input_.resize(frames * kChannels);
    if (hasEnded_) {
        return;
    }
    const std::size_t got = source_(std::span(input_).subspan(there * kChannels));
    if (there + got < frames) {
        hasEnded_ = true;
        framesLeft_ = there + got;
    }
}

/// Where around `from` the sound is most like what would have followed the last piece.
std::size_t TimeStretch::bestOffset(std::size_t from) const {
    const float* const wanted = input_.data() + continuation_ * kChannels;
    std::size_t best = from;
    float bestLikeness = -1;
    for (std::size_t begin = from - std::min(from, kReach); begin <= from + kReach; begin += kStride) {
        const float* const candidate = input_.data() + begin * kChannels;
        float product = 0;
        float energy = 1e-9F;
        for (std::size_t index = 0; index < kHop * kChannels; index += kStride * kChannels) {
            product += candidate[index] * wanted[index] + candidate[index + 1] * wanted[index + 1];
            energy += candidate[index] * candidate[index] + candidate[index + 1] * candidate[index + 1];
        }
        if (const float likeness = product / std::sqrt(energy); likeness > bestLikeness) {
            bestLikeness = likeness;
            best = begin;
        }
    }
    return best;
}

} // namespace talkledger
