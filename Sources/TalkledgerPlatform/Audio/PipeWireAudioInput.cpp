#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"

#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerPlatform/Audio/PipeWireCapture.h"
#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <functional>
#include <utility>

namespace talkledger {
namespace {

constexpr const char* kThreadName = "talkledger-mic";

class PipeWireAudioInputEngine : public AudioInputEngine {
public:
    PipeWireAudioInputEngine(Executor blockingExecutor, const TrackHealthHandler& health)
        : blockingExecutor_(std::move(blockingExecutor)),
          capture_(std::make_shared<PipeWireCapture>(CaptureSource::microphone, health)) {}

    ~PipeWireAudioInputEngine() override { PipeWireCapture::release(std::move(capture_), blockingExecutor_); }

    PipeWireAudioInputEngine(const PipeWireAudioInputEngine&) = delete;
    PipeWireAudioInputEngine& operator=(const PipeWireAudioInputEngine&) = delete;

    Task<AudioFormat> inputFormat() override {
        std::function<AudioFormat()> open = [capture = capture_]() -> AudioFormat {
            try {
                return capture->open();
            } catch (const SoundServerError&) {
                return {}; // no channels: this is how the caller is told
            }
        };
        return runOn(blockingExecutor_, std::move(open));
    }

    void installTap(std::uint32_t bufferSize, const AudioFormat& format, AudioTap tap) override {
        bufferSize_ = bufferSize;
        format_ = format;
        tap_ = std::move(tap);
    }

    void removeTap() noexcept override {
        capture_->endDelivery();
        tap_ = nullptr;
    }

    Task<void> start() override {
        std::function<void()> start = [capture = capture_, bufferSize = bufferSize_, format = format_, tap = tap_] {
            capture->start(format, bufferSize, kThreadName, tap);
        };
        return runOn(blockingExecutor_, std::move(start));
    }

    void stop() noexcept override { capture_->close(); }

private:
    Executor blockingExecutor_;
    std::shared_ptr<PipeWireCapture> capture_; // shared with a start that is under way
    std::uint32_t bufferSize_{0};
    AudioFormat format_;
    AudioTap tap_;
};

} // namespace

PipeWireAudioInput::PipeWireAudioInput(Executor blockingExecutor, TrackHealthHandler health)
    : blockingExecutor_(std::move(blockingExecutor)), health_(std::move(health)) {}

std::unique_ptr<AudioInputEngine> PipeWireAudioInput::makeEngine() {
    return std::make_unique<PipeWireAudioInputEngine>(blockingExecutor_, health_);
}

} // namespace talkledger
