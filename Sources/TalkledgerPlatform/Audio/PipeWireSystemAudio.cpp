#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"

#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerPlatform/Audio/PipeWireCapture.h"
#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <chrono>
#include <functional>
#include <string>
#include <utility>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kBufferFrames = 4096;
constexpr auto kQueryPatience = 1500ms;

std::unique_ptr<OwnSound> makeOwnSound(const CaptureStreamConfiguration& configuration) {
    const bool isPossible = configuration.channelCount == 2;
    return configuration.excludesCurrentProcessAudio && isPossible
               ? std::make_unique<OwnSound>(static_cast<std::uint32_t>(configuration.sampleRate))
               : nullptr;
}

class PipeWireCaptureStream : public CaptureStream {
public:
    PipeWireCaptureStream(Executor blockingExecutor, const TrackHealthHandler& health,
                          const CaptureStreamConfiguration& configuration)
        : blockingExecutor_(std::move(blockingExecutor)),
          format_{.commonFormat = AudioSampleFormat::float32,
                  .sampleRate = configuration.sampleRate,
                  .channelCount = configuration.channelCount,
                  .isInterleaved = true},
          capture_(std::make_shared<PipeWireCapture>(CaptureSource::systemAudio, health, makeOwnSound(configuration))) {
    }

    ~PipeWireCaptureStream() override { PipeWireCapture::release(std::move(capture_), blockingExecutor_); }

    PipeWireCaptureStream(const PipeWireCaptureStream&) = delete;
    PipeWireCaptureStream& operator=(const PipeWireCaptureStream&) = delete;

    void addStreamOutput(std::weak_ptr<CaptureStreamOutput> output, const std::string& sampleQueueLabel) override {
        output_ = std::move(output);
        sampleQueueLabel_ = sampleQueueLabel;
    }

    Task<void> startCapture() override {
        PipeWireCapture::Delivery deliver = [output = output_](const AudioBuffer& buffer) {
            if (const auto receiver = output.lock()) {
                receiver->streamDidOutput({.type = CaptureOutputType::audio, .isDataReady = true, .audio = buffer});
            }
        };
        std::function<void()> start = [capture = capture_, format = format_, label = sampleQueueLabel_,
                                       deliver = std::move(deliver)] {
            capture->start(format, kBufferFrames, label, deliver);
        };
        return runOn(blockingExecutor_, std::move(start));
    }

    Task<void> stopCapture() override {
        std::function<void()> stop = [capture = capture_] { capture->close(); };
        return runOn(blockingExecutor_, std::move(stop));
    }

private:
    Executor blockingExecutor_;
    AudioFormat format_;
    std::shared_ptr<PipeWireCapture> capture_; // shared with a start or stop that is under way
    std::weak_ptr<CaptureStreamOutput> output_;
    std::string sampleQueueLabel_;
};

ShareableContent queryContent() {
    PipeWireConnection connection;
    const PipeWireConnection::Lock lock(connection);
    try {
        const CaptureDevice output = connection.waitForDefaultDevice(CaptureSource::systemAudio,
                                                                     std::chrono::steady_clock::now() + kQueryPatience);
        return {.displays = {{.name = output.description}}};
    } catch (const SoundServerError& error) {
        if (error.errorCase() != SoundServerError::Case::noOutput) {
            throw;
        }
        return {};
    }
}

} // namespace

PipeWireSystemAudio::PipeWireSystemAudio(Executor blockingExecutor, TrackHealthHandler health)
    : blockingExecutor_(std::move(blockingExecutor)), health_(std::move(health)) {}

Task<ShareableContent> PipeWireSystemAudio::shareableContent() {
    std::function<ShareableContent()> query = queryContent;
    return runOn(blockingExecutor_, std::move(query));
}

std::unique_ptr<CaptureStream> PipeWireSystemAudio::makeStream(const ContentFilter& /*filter*/,
                                                               const CaptureStreamConfiguration& configuration) {
    return std::make_unique<PipeWireCaptureStream>(blockingExecutor_, health_, configuration);
}

} // namespace talkledger
