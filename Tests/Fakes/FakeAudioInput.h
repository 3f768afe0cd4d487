#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/Audio.h"

#include <cstring>
#include <mutex>
#include <span>

namespace talkledger::testing {

inline AudioBuffer makeFloatBuffer(std::span<const float> samples, std::uint32_t channelCount, MonotonicTime time) {
    AudioBuffer buffer;
    buffer.format = {AudioSampleFormat::float32, 48000, channelCount, true};
    buffer.frameLength = static_cast<std::uint32_t>(samples.size() / channelCount);
    buffer.time = time;
    buffer.samples.resize(samples.size_bytes());
    std::memcpy(buffer.samples.data(), samples.data(), samples.size_bytes());
    return buffer;
}

/// A microphone whose buffers the test delivers. All engines are one and the same to it.
class FakeAudioInput final : public AudioInput {
public:
    explicit FakeAudioInput(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    AudioFormat format{AudioSampleFormat::float32, 48000, 1, true};
    std::optional<std::string> startFailure;
    std::uint32_t tapBufferSize{0};
    AudioTap lastTap;                    ///< also after its removal, for a delivery that comes late
    std::function<void()> duringRemoval; ///< what holds up the tap's removal; may be empty

    std::unique_ptr<AudioInputEngine> makeEngine() override { return std::make_unique<Engine>(*this); }

    /// What the capture's delivery thread does. Any thread, one at a time.
    void deliver(const AudioBuffer& buffer) {
        const std::lock_guard delivering(delivery_);
        if (tap_) {
            tap_(buffer);
        }
    }

private:
    class Engine final : public AudioInputEngine {
    public:
        explicit Engine(FakeAudioInput& input) : input_(input) {}

        Task<AudioFormat> inputFormat() override { co_return input_.format; }

        void installTap(std::uint32_t bufferSize, const AudioFormat& /*format*/, AudioTap tap) override {
            input_.log.add("installTap");
            input_.tapBufferSize = bufferSize;
            input_.lastTap = tap;
            const std::lock_guard delivering(input_.delivery_);
            input_.tap_ = std::move(tap);
        }

        void removeTap() noexcept override {
            input_.log.add("removeTap");
            if (input_.duringRemoval) {
                input_.duringRemoval();
            }
            const std::lock_guard delivering(input_.delivery_);
            input_.tap_ = nullptr;
        }

        Task<void> start() override {
            input_.log.add("startEngine");
            throwIfSet(input_.startFailure);
            co_return;
        }

        void stop() noexcept override { input_.log.add("stopEngine"); }

    private:
        FakeAudioInput& input_;
    };

    std::mutex delivery_;
    AudioTap tap_;
};

} // namespace talkledger::testing
