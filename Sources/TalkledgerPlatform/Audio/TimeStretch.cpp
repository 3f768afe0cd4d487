#include "TalkledgerPlatform/Audio/TimeStretch.h"

#include <SoundTouch.h>

#include <type_traits>
#include <utility>

namespace talkledger {
namespace {

static_assert(std::is_same_v<soundtouch::SAMPLETYPE, float>);

constexpr std::size_t kChannels = 2;

/// Enough for a few of the library's pieces at a time.
constexpr std::size_t kInputFrames = 4096;

} // namespace

TimeStretch::TimeStretch(std::uint32_t sampleRate, double speed, Source source) : source_(std::move(source)) {
    if (speed != 1) {
        stretcher_ = std::make_unique<soundtouch::SoundTouch>();
        stretcher_->setSampleRate(sampleRate);
        stretcher_->setChannels(kChannels);
        stretcher_->setTempo(speed);
        input_.resize(kInputFrames * kChannels);
    }
}

TimeStretch::~TimeStretch() = default;

std::size_t TimeStretch::read(std::span<float> interleaved) {
    if (!stretcher_) {
        return source_(interleaved);
    }
    const std::size_t wanted = interleaved.size() / kChannels;
    std::size_t written = 0;
    while (written < wanted) {
        written += stretcher_->receiveSamples(interleaved.data() + written * kChannels,
                                              static_cast<unsigned int>(wanted - written));
        if (written < wanted) {
            if (hasEnded_) {
                break;
            }
            feed();
        }
    }
    return written;
}

void TimeStretch::feed() {
    const std::size_t count = source_(input_);
    if (count > 0) {
        stretcher_->putSamples(input_.data(), static_cast<unsigned int>(count));
    }
    if (count < kInputFrames) {
        hasEnded_ = true;
        stretcher_->flush();
    }
}

} // namespace talkledger
