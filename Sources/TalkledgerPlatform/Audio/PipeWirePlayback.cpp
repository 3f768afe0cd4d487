#include "TalkledgerPlatform/Audio/PipeWirePlayback.h"

#include "TalkledgerPlatform/Audio/PipeWireConnection.h"
#include "TalkledgerPlatform/Audio/PlaybackMix.h"
#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLongestFrames = 8192;
constexpr const char* kNodeName = "talkledger-playback";
constexpr std::size_t kFrameBytes = TrackReader::channelCount * sizeof(float);
constexpr auto kServerPatience = 3s;

/// Of a buffer whose reader does not say how much it wants.
constexpr std::size_t kUsualFrames = 1024;

/// So many buffers lie ready, or a file that comes late, or this thread, is heard as a gap.
constexpr int kBuffersAhead = 4;

} // namespace

/// Everything happens on the connection's loop thread but `demand` and `position`, which take no longer than the lock.
class PipeWirePlayback::Stream {
public:
    explicit Stream(EventHandler handler) : handler_(std::move(handler)), connection_([this] { follow(); }) {}

    ~Stream() {
        const PipeWireConnection::Lock lock(connection_);
        close();
        isClosed_ = true;
    }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// No request stops what is played.
    void demand(std::uint64_t number, std::optional<PlaybackRequest> request) {
        {
            const std::lock_guard guard(lock_);
            number_ = number;
            position_ = request ? request->from : position_;
            demanded_ = std::move(request);
            isNew_ = true;
        }
        connection_.signalChange();
    }

    double position() const {
        const std::lock_guard guard(lock_);
        return position_;
    }

private:
    /// Called whenever something has changed: what is wanted, or what the server has.
    void follow() {
        if (isClosed_) {
            return;
        }
        if (std::exchange(isDrained_, false)) {
            close();
            tell(PlaybackEvent::Kind::ended);
        }
        if (takeDemand()) {
            prepare();
        }
        if (!mix_) {
            return;
        }
        try {
            if (!isServerReady()) {
                return;
            }
            if (!connection_.defaultDevice(CaptureSource::systemAudio)) {
                throw SoundServerError(SoundServerError::Case::noOutput);
            }
            if (stream_ == nullptr) {
                open();
            }
        } catch (const std::exception& error) {
            close();
            mix_.reset();
            tell(PlaybackEvent::Kind::failed, error.what());
        }
    }

    bool takeDemand() {
        const std::lock_guard guard(lock_);
        if (!std::exchange(isNew_, false)) {
            return false;
        }
        request_ = std::exchange(demanded_, std::nullopt);
        playing_ = number_;
        return true;
    }

    void prepare() {
        close(); // what lies ready is not played any more
        mix_.reset();
        if (!request_) {
            return;
        }
        mix_ = std::make_unique<PlaybackMix>(*request_);
        framesFilled_ = 0;
        deadline_ = std::chrono::steady_clock::now() + kServerPatience;
        for (const PlaybackMix::Failure& failure : mix_->failures()) {
            tell(PlaybackEvent::Kind::trackFailed, failure.description, failure.track);
        }
        if (mix_->isEmpty()) {
            mix_.reset();
            tell(PlaybackEvent::Kind::ended);
        }
    }

    /// False as long as it may still become so.
    bool isServerReady() {
        if (!connection_.isConnected()) {
            close();
            if (const int error = connection_.connect(); error != 0) {
                throw SoundServerError(SoundServerError::Case::unreachable, std::generic_category().message(error));
            }
        }
        if (connection_.isReady() && connection_.defaultDevice(CaptureSource::systemAudio)) {
            return true;
        }
        if (std::chrono::steady_clock::now() < deadline_) {
            connection_.callAfter(100ms);
            return false;
        }
        if (!connection_.isReady()) {
            throw SoundServerError(SoundServerError::Case::notAnswering);
        }
        return true;
    }

    void open() {
        stream_ = pw_stream_new(connection_.core(), kNodeName,
                                pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                                  PW_KEY_NODE_NAME, kNodeName, PW_KEY_APP_NAME, "Talkledger", nullptr));
        if (stream_ == nullptr) {
            throw SoundServerError(SoundServerError::Case::notAnswering);
        }
        pw_stream_add_listener(stream_, &listener_, &events, this);
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = TrackReader::sampleRate;
        format.channels = TrackReader::channelCount;
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        std::array<const spa_pod*, 2> parameters{};
        parameters[0] = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        parameters[1] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_Int(kBuffersAhead), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
            SPA_POD_CHOICE_RANGE_Int(static_cast<int>(kUsualFrames * kFrameBytes), static_cast<int>(kFrameBytes),
                                     static_cast<int>(kLongestFrames * kFrameBytes)),
            SPA_PARAM_BUFFERS_stride, SPA_POD_Int(static_cast<int>(kFrameBytes))));
        const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
        if (pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, parameters.data(), parameters.size()) <
            0) {
            throw SoundServerError(SoundServerError::Case::notAnswering);
        }
    }

    void close() {
        if (stream_ != nullptr) {
            spa_hook_remove(&listener_);
            pw_stream_destroy(stream_);
            stream_ = nullptr;
        }
        isDrained_ = false;
    }

    /// Gives the server its next samples. Not a realtime callback: a file may be read here.
    void fill() {
        while (pw_buffer* const buffer = mix_ ? pw_stream_dequeue_buffer(stream_) : nullptr) {
            fill(buffer);
        }
    }

    void fill(pw_buffer* buffer) {
        spa_data& memory = buffer->buffer->datas[0];
        if (memory.data == nullptr) {
            pw_stream_queue_buffer(stream_, buffer);
            return;
        }
        const std::size_t wanted = buffer->requested > 0 ? static_cast<std::size_t>(buffer->requested) : kUsualFrames;
        const std::size_t frames = std::min(wanted, memory.maxsize / kFrameBytes);
        const std::span<float> samples(static_cast<float*>(memory.data), frames * TrackReader::channelCount);
        const std::size_t played = mix_->read(samples);
        std::fill(samples.begin() + static_cast<std::ptrdiff_t>(played * TrackReader::channelCount), samples.end(),
                  0.0F);
        memory.chunk->offset = 0;
        memory.chunk->stride = static_cast<std::int32_t>(kFrameBytes);
        memory.chunk->size = static_cast<std::uint32_t>(frames * kFrameBytes);
        pw_stream_queue_buffer(stream_, buffer);
        framesFilled_ += played;
        const std::size_t ahead = frames * (kBuffersAhead - 1);
        advanceTo(framesFilled_ > ahead ? framesFilled_ - ahead : 0);
        if (played < frames) {
            mix_.reset();
            pw_stream_flush(stream_, true);
        }
    }

    void advanceTo(std::size_t framesPlayed) {
        const std::lock_guard guard(lock_);
        if (!isNew_ && request_) {
            position_ = request_->from + static_cast<double>(framesPlayed) * request_->speed / TrackReader::sampleRate;
        }
    }

    /// A stream is not closed by its own callback.
    void noteDrained() {
        isDrained_ = true;
        advanceTo(framesFilled_);
        connection_.signalChange();
    }

    void tell(PlaybackEvent::Kind kind, const std::string& description = {}, std::size_t track = 0) {
        handler_({.kind = kind, .request = playing_, .track = track, .description = description});
    }

    static const pw_stream_events events;

    const EventHandler handler_;

    mutable std::mutex lock_; ///< of what follows
    std::uint64_t number_{0};
    std::optional<PlaybackRequest> demanded_;
    bool isNew_{false};
    double position_{0};

    // The loop thread's own.
    std::uint64_t playing_{0};
    std::optional<PlaybackRequest> request_;
    std::unique_ptr<PlaybackMix> mix_; ///< present until its last sample has been handed over
    std::size_t framesFilled_{0};
    std::chrono::steady_clock::time_point deadline_;
    pw_stream* stream_{nullptr};
    spa_hook listener_{};
    bool isDrained_{false};
    bool isClosed_{false};

    PipeWireConnection connection_; ///< destroyed first: it calls `follow`
};

const pw_stream_events PipeWirePlayback::Stream::events = {
    .version = PW_VERSION_STREAM_EVENTS,
    .process = [](void* self) { static_cast<Stream*>(self)->fill(); },
    .drained = [](void* self) { static_cast<Stream*>(self)->noteDrained(); },
};

PipeWirePlayback::PipeWirePlayback() = default;

PipeWirePlayback::~PipeWirePlayback() = default;

void PipeWirePlayback::setEventHandler(EventHandler handler) {
    handler_ = std::move(handler);
}

std::uint64_t PipeWirePlayback::play(PlaybackRequest request) {
    if (!stream_) {
        stream_ = std::make_unique<Stream>(handler_);
    }
    stream_->demand(++lastRequest_, std::move(request));
    return lastRequest_;
}

void PipeWirePlayback::stop() {
    if (stream_) {
        stream_->demand(++lastRequest_, std::nullopt);
    }
}

double PipeWirePlayback::position() const {
    return stream_ ? stream_->position() : 0;
}

} // namespace talkledger
