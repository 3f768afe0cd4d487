#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>

namespace talkledger::testing {

/// Plays noise between -0.5 and 0.5 to the default output, as this process's own playback stream, for as long as it
/// lives.
class NoiseStream {
public:
    NoiseStream() {
        static const pw_stream_events events = [] {
            pw_stream_events handlers{};
            handlers.version = PW_VERSION_STREAM_EVENTS;
            handlers.process = [](void* self) { static_cast<NoiseStream*>(self)->play(); };
            return handlers;
        }();
        pw_init(nullptr, nullptr);
        loop_.reset(pw_thread_loop_new("noise", nullptr));
        pw_thread_loop_lock(loop_.get());
        stream_ = pw_stream_new_simple(pw_thread_loop_get_loop(loop_.get()), "talkledger-test-noise",
                                       pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                                         PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr),
                                       &events, this);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = 48000;
        format.channels = kChannelCount;
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS);
        const int result = pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &parameter, 1);
        pw_thread_loop_unlock(loop_.get());
        if (result < 0 || pw_thread_loop_start(loop_.get()) < 0) {
            throw std::runtime_error("The stream could not be played.");
        }
    }

    ~NoiseStream() {
        pw_thread_loop_stop(loop_.get());
        pw_stream_destroy(stream_);
    }

    NoiseStream(const NoiseStream&) = delete;
    NoiseStream& operator=(const NoiseStream&) = delete;

private:
    static constexpr std::uint32_t kChannelCount = 2;

    struct LoopDeleter {
        void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    };

    void play() {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream_);
        if (buffer == nullptr) {
            return;
        }
        spa_data& plane = buffer->buffer->datas[0];
        const std::uint32_t frameBytes = kChannelCount * sizeof(float);
        std::uint32_t frames = plane.maxsize / frameBytes;
        if (buffer->requested > 0) {
            frames = std::min(frames, static_cast<std::uint32_t>(buffer->requested));
        }
        auto* samples = static_cast<float*>(plane.data);
        std::generate_n(samples, std::size_t{frames} * kChannelCount, [this] { return level_(random_); });
        plane.chunk->offset = 0;
        plane.chunk->stride = static_cast<std::int32_t>(frameBytes);
        plane.chunk->size = frames * frameBytes;
        pw_stream_queue_buffer(stream_, buffer);
    }

    std::minstd_rand random_{1};
    std::uniform_real_distribution<float> level_{-0.5F, 0.5F};
    std::unique_ptr<pw_thread_loop, LoopDeleter> loop_;
    pw_stream* stream_{nullptr};
};

} // namespace talkledger::testing
