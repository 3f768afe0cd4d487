#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/Audio.h"

namespace talkledger::testing {

/// The computer's sound, delivered and broken by the test.
class FakeSystemAudio final : public SystemAudio {
public:
    explicit FakeSystemAudio(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    ShareableContent content{{{"first output"}, {"second output"}}};
    std::optional<std::string> contentFailure;
    std::optional<std::string> startFailure;
    std::optional<std::string> stopFailure;
    ContentFilter filter;
    CaptureStreamConfiguration configuration;
    std::weak_ptr<CaptureStreamOutput> output;
    std::string queueLabel;

    Task<ShareableContent> shareableContent() override {
        log.add("shareableContent");
        throwIfSet(contentFailure);
        co_return content;
    }

    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& streamFilter,
                                              const CaptureStreamConfiguration& streamConfiguration) override {
        filter = streamFilter;
        configuration = streamConfiguration;
        return std::make_unique<Stream>(*this);
    }

    /// What the sample queue does. Any thread, one at a time, whether or not the stream runs.
    void deliver(const CaptureSampleBuffer& sample) {
        if (const auto receiver = output.lock()) {
            receiver->streamDidOutput(sample);
        }
    }

    void breakStream() {
        if (const auto receiver = output.lock()) {
            receiver->streamDidStop("the stream broke");
        }
    }

private:
    class Stream final : public CaptureStream {
    public:
        explicit Stream(FakeSystemAudio& systemAudio) : systemAudio_(systemAudio) {}

        void addStreamOutput(std::weak_ptr<CaptureStreamOutput> receiver,
                             const std::string& sampleQueueLabel) override {
            systemAudio_.output = std::move(receiver);
            systemAudio_.queueLabel = sampleQueueLabel;
        }

        Task<void> startCapture() override {
            systemAudio_.log.add("startCapture");
            throwIfSet(systemAudio_.startFailure);
            co_return;
        }

        Task<void> stopCapture() override {
            systemAudio_.log.add("stopCapture");
            throwIfSet(systemAudio_.stopFailure);
            co_return;
        }

    private:
        FakeSystemAudio& systemAudio_;
    };
};

} // namespace talkledger::testing
