#include "TalkledgerCore/Capture/SoundCheck.h"

#include "TalkledgerCore/Capture/AudioCaptureError.h"
#include "TalkledgerCore/Capture/AudioLevelMeter.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <atomic>
#include <chrono>
#include <exception>
#include <utility>

namespace talkledger {
namespace {

constexpr const char* sampleQueueLabel = "talkledger.sound-check";

/// Short, so that the level moves as one speaks.
constexpr std::uint32_t tapBufferFrames = 2048;

/// Louder than the noise of a quiet room.
constexpr double audibleLevel = 0.01;

constexpr std::chrono::seconds retryInterval{2};

/// Whoever lets go of a capture does not wait for it to end.
template <typename Capture>
std::shared_ptr<Capture> endingOn(const Executor& background, std::unique_ptr<Capture> capture) {
    return {capture.release(), [background](Capture* ended) {
                boost::asio::post(background, [owned = std::unique_ptr<Capture>(ended)] {});
            }};
}

} // namespace

/// What is heard of one channel. `streamDidOutput` and `hear` are called on the capture's delivery thread, everything
/// else on the main executor.
class SoundCheck::Listener final : public CaptureStreamOutput, public std::enable_shared_from_this<Listener> {
public:
    Listener(Executor main, ChangeHandler changed) : main_(std::move(main)), changed_(std::move(changed)) {}

    State state() const { return state_; }

    double level() const { return level_; }

    void hear(const AudioBuffer& buffer) {
        latest_ = AudioLevelMeter::normalizedLevel(buffer);
        if (!isOnItsWay_.exchange(true)) {
            boost::asio::post(main_, [weakSelf = weak_from_this()] {
                if (const auto self = weakSelf.lock()) {
                    self->isOnItsWay_ = false;
                    self->show(self->latest_);
                }
            });
        }
    }

    void streamDidOutput(const CaptureSampleBuffer& sample) override {
        if (sample.type == CaptureOutputType::audio && sample.isDataReady) {
            hear(sample.audio);
        }
    }

    void streamDidStop(const std::string& /*reason*/) override { hear({}); }

    void keep(std::shared_ptr<void> capture) {
        capture_ = std::move(capture);
        if (state_ == State::failed) {
            setState(State::silent);
        }
    }

    void setState(State state) {
        state_ = state;
        changed_();
    }

private:
    void show(double level) {
        level_ = level;
        setState(level >= audibleLevel ? State::heard : state_);
    }

    const Executor main_;
    const ChangeHandler changed_;
    State state_{State::silent};
    double level_{0};
    std::shared_ptr<void> capture_;
    std::atomic<double> latest_{0};
    std::atomic<bool> isOnItsWay_{false};
};

namespace {

template <typename Listener>
Task<std::shared_ptr<void>> captureOf(AudioInput& audioInput, Executor background, std::weak_ptr<Listener> listener) {
    const std::shared_ptr<AudioInputEngine> engine = endingOn(background, audioInput.makeEngine());
    const AudioFormat format = co_await engine->inputFormat();
    if (format.channelCount == 0) {
        throw AudioCaptureError(AudioCaptureError::Case::microphoneFormatUnavailable);
    }
    engine->installTap(tapBufferFrames, format, [listener](const AudioBuffer& buffer) {
        if (const auto self = listener.lock()) {
            self->hear(buffer);
        }
    });
    co_await engine->start();
    co_return engine;
}

template <typename Listener>
Task<std::shared_ptr<void>> captureOf(SystemAudio& systemAudio, Executor background, std::weak_ptr<Listener> listener) {
    const ShareableContent content = co_await systemAudio.shareableContent();
    if (content.displays.empty()) {
        throw AudioCaptureError(AudioCaptureError::Case::noShareableDisplay);
    }
    const ContentFilter filter{content.displays.front()};
    const CaptureStreamConfiguration configuration{.excludesCurrentProcessAudio = false};
    const std::shared_ptr<CaptureStream> stream = endingOn(background, systemAudio.makeStream(filter, configuration));
    stream->addStreamOutput(listener, sampleQueueLabel);
    co_await stream->startCapture();
    co_return stream;
}

/// Tries until there is a capture, or nobody listens any more.
template <typename Source, typename Listener>
Task<> listen(Source& source, Executor main, Executor background, std::weak_ptr<Listener> weakListener) {
    boost::asio::steady_timer timer(main);
    while (!weakListener.expired()) {
        std::shared_ptr<void> capture;
        try {
            capture = co_await captureOf(source, background, weakListener);
        } catch (const std::exception&) {
            capture.reset();
        }
        if (const auto listener = weakListener.lock()) {
            if (capture) {
                listener->keep(std::move(capture));
                co_return;
            }
            listener->setState(SoundCheck::State::failed);
        }
        timer.expires_after(retryInterval);
        co_await timer.async_wait(boost::asio::use_awaitable);
    }
}

} // namespace

SoundCheck::SoundCheck(AudioInput& audioInput, SystemAudio& systemAudio, Executor main, Executor background,
                       ChangeHandler changed)
    : audioInput_(audioInput),
      systemAudio_(systemAudio),
      main_(std::move(main)),
      background_(std::move(background)),
      changed_(std::move(changed)) {}

SoundCheck::~SoundCheck() = default;

void SoundCheck::start() {
    if (isRunning()) {
        return;
    }
    microphone_ = std::make_shared<Listener>(main_, changed_);
    speaker_ = std::make_shared<Listener>(main_, changed_);
    boost::asio::co_spawn(main_, listen(audioInput_, main_, background_, std::weak_ptr(microphone_)),
                          boost::asio::detached);
    boost::asio::co_spawn(main_, listen(systemAudio_, main_, background_, std::weak_ptr(speaker_)),
                          boost::asio::detached);
    changed_();
}

void SoundCheck::stop() {
    microphone_.reset();
    speaker_.reset();
    changed_();
}

SoundCheck::State SoundCheck::state(AudioChannel channel) const {
    const auto& source = listener(channel);
    return source ? source->state() : State::silent;
}

double SoundCheck::level(AudioChannel channel) const {
    const auto& source = listener(channel);
    return source ? source->level() : 0;
}

const std::shared_ptr<SoundCheck::Listener>& SoundCheck::listener(AudioChannel channel) const {
    return channel == AudioChannel::mic ? microphone_ : speaker_;
}

} // namespace talkledger
