#pragma once

// C declarations without a linkage of their own, and C idioms that our warnings mind.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/opt.h>
}

#include <array>
#include <filesystem>
#include <memory>
#include <string>

/// Ownership of FFmpeg's objects.
namespace talkledger::ffmpeg {

template <auto release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        release(&object);
    }
};

using Packet = std::unique_ptr<AVPacket, Releaser<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Releaser<av_frame_free>>;
using CodecContext = std::unique_ptr<AVCodecContext, Releaser<avcodec_free_context>>;
using Input = std::unique_ptr<AVFormatContext, Releaser<avformat_close_input>>;

struct OutputReleaser {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

using Output = std::unique_ptr<AVFormatContext, OutputReleaser>;

/// A context over our own callbacks; it owns its buffer.
struct StreamReleaser {
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

using Stream = std::unique_ptr<AVIOContext, StreamReleaser>;

struct Dictionary {
    AVDictionary* entries{nullptr};

    Dictionary() = default;

    ~Dictionary() { av_dict_free(&entries); }

    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    void set(const char* key, const char* value) { av_dict_set(&entries, key, value, 0); }
};

inline std::string errorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

/// With its protocol, so that no name is taken for an address.
inline std::string url(const std::filesystem::path& path) {
    return "file:" + path.string();
}

} // namespace talkledger::ffmpeg
