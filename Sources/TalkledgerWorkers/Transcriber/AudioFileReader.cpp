#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// Only what a recording can be: other formats of the library (playlists, network streams, images) would be an opening
/// for hostile files.
constexpr const char* formats = "wav,w64,mov,mp4,m4a";
constexpr const char* codecs = "aac,alac,pcm_u8,pcm_s16le,pcm_s24le,pcm_s32le,pcm_f32le,pcm_f64le";

AudioFileError cannotOpen(const std::filesystem::path& path, const std::string& reason) {
    return AudioFileError("The file \"" + path.string() + "\" cannot be opened as audio: " + reason + ".");
}

std::string reasonOf(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

struct FormatDeleter {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};

struct CodecDeleter {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};

struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

struct ResamplerDeleter {
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};

/// The properties of a frame that a resampler is made for.
struct FrameFormat {
    int sampleFormat{-1};
    int sampleRate{0};
    int channels{0};

    bool operator==(const FrameFormat&) const = default;
};

FrameFormat formatOf(const AVFrame& frame) {
    return {frame.format, frame.sample_rate, frame.ch_layout.nb_channels};
}

} // namespace

class AudioFileReader::Decoder {
public:
    Decoder(const std::filesystem::path& path, std::stop_token stop) : stop_(std::move(stop)) {
        std::error_code unreadable;
        // A pipe or a device could keep the reader waiting for ever.
        if (!std::filesystem::is_regular_file(path, unreadable)) {
            throw cannotOpen(path, unreadable ? unreadable.message() : "It is not a file");
        }
        openFormat(path);
        openCodec(path);
    }

    std::span<const std::int16_t> read() {
        samples_.clear();
        while (samples_.empty() && !ended_ && !stop_.stop_requested()) {
            receiveFrame();
        }
        return samples_;
    }

    double share() const {
        const std::int64_t size = avio_size(format_->pb);
        const std::int64_t position = avio_tell(format_->pb);
        return size > 0 ? std::clamp(static_cast<double>(position) / static_cast<double>(size), 0.0, 1.0) : 0;
    }

private:
    static int interrupted(void* decoder) { return static_cast<Decoder*>(decoder)->stop_.stop_requested() ? 1 : 0; }

    void openFormat(const std::filesystem::path& path) {
        AVFormatContext* format = avformat_alloc_context();
        if (format == nullptr) {
            throw std::bad_alloc();
        }
        format->interrupt_callback = {&Decoder::interrupted, this};
        AVDictionary* options = nullptr;
        av_dict_set(&options, "format_whitelist", formats, 0);
        av_dict_set(&options, "codec_whitelist", codecs, 0);
        av_dict_set(&options, "protocol_whitelist", "file", 0);
        // The library frees the context when it cannot open the file.
        const int failure = avformat_open_input(&format, ("file:" + path.string()).c_str(), nullptr, &options);
        av_dict_free(&options);
        if (failure < 0) {
            throw cannotOpen(path, reasonOf(failure));
        }
        format_.reset(format);
        if (const int unknown = avformat_find_stream_info(format, nullptr); unknown < 0) {
            throw cannotOpen(path, reasonOf(unknown));
        }
    }

    void openCodec(const std::filesystem::path& path) {
        const AVCodec* decoder = nullptr;
        stream_ = av_find_best_stream(format_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
        if (stream_ < 0 || decoder == nullptr) {
            throw cannotOpen(path, "It holds no sound that can be decoded");
        }
        codec_.reset(avcodec_alloc_context3(decoder));
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        if (!codec_ || !packet_ || !frame_) {
            throw std::bad_alloc();
        }
        const AVStream& stream = *format_->streams[stream_];
        int failure = avcodec_parameters_to_context(codec_.get(), stream.codecpar);
        codec_->pkt_timebase = stream.time_base;
        codec_->thread_count = 1;
        if (failure >= 0) {
            failure = avcodec_open2(codec_.get(), decoder, nullptr);
        }
        if (failure < 0) {
            throw cannotOpen(path, reasonOf(failure));
        }
    }

    void receiveFrame() {
        const int outcome = avcodec_receive_frame(codec_.get(), frame_.get());
        if (outcome >= 0) {
            convertFrame();
            av_frame_unref(frame_.get());
        } else if (outcome == AVERROR(EAGAIN)) {
            sendPacket();
        } else if (outcome == AVERROR_INVALIDDATA) {
            return; // a damaged passage: the next packet may be sound again
        } else {
            flushResampler();
            ended_ = true;
        }
    }

    void sendPacket() {
        const int outcome = av_read_frame(format_.get(), packet_.get());
        if (outcome < 0) {
            avcodec_send_packet(codec_.get(), nullptr); // the decoder hands out what it still holds
            return;
        }
        if (packet_->stream_index == stream_) {
            avcodec_send_packet(codec_.get(), packet_.get());
        }
        av_packet_unref(packet_.get());
    }

    void convertFrame() {
        // An AAC encoder's priming comes before time 0; the library hands it out for fragmented files.
        if (frame_->pts != AV_NOPTS_VALUE && frame_->pts < 0) {
            return;
        }
        if (const FrameFormat format = formatOf(*frame_); !resampler_ || format != resampledFormat_) {
            flushResampler();
            if (!makeResampler(format)) {
                return;
            }
        }
        resample(const_cast<const std::uint8_t**>(frame_->extended_data), frame_->nb_samples);
    }

    bool makeResampler(const FrameFormat& format) {
        AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
        AVChannelLayout layout{};
        // A file may name any order of channels; only their number is needed to mix them into one.
        av_channel_layout_default(&layout, format.channels);
        SwrContext* resampler = nullptr;
        const int outcome =
            swr_alloc_set_opts2(&resampler, &mono, AV_SAMPLE_FMT_S16, sampleRate, &layout,
                                static_cast<AVSampleFormat>(format.sampleFormat), format.sampleRate, 0, nullptr);
        av_channel_layout_uninit(&layout);
        resampler_.reset(resampler);
        resampledFormat_ = format;
        if (outcome < 0 || swr_init(resampler) < 0) {
            resampler_.reset();
        }
        return resampler_ != nullptr;
    }

    void flushResampler() {
        if (resampler_) {
            resample(nullptr, 0);
            resampler_.reset();
        }
    }

    void resample(const std::uint8_t** input, int count) {
        const int room = swr_get_out_samples(resampler_.get(), count);
        if (room <= 0) {
            return;
        }
        const std::size_t before = samples_.size();
        samples_.resize(before + static_cast<std::size_t>(room));
        auto* output = reinterpret_cast<std::uint8_t*>(samples_.data() + before);
        const int written = swr_convert(resampler_.get(), &output, room, input, count);
        samples_.resize(before + static_cast<std::size_t>(std::max(written, 0)));
    }

    std::stop_token stop_;
    std::unique_ptr<AVFormatContext, FormatDeleter> format_;
    std::unique_ptr<AVCodecContext, CodecDeleter> codec_;
    std::unique_ptr<AVPacket, PacketDeleter> packet_;
    std::unique_ptr<AVFrame, FrameDeleter> frame_;
    std::unique_ptr<SwrContext, ResamplerDeleter> resampler_;
    FrameFormat resampledFormat_;
    std::vector<std::int16_t> samples_;
    int stream_{-1};
    bool ended_{false};
};

AudioFileReader::AudioFileReader(const std::filesystem::path& path, std::stop_token stop)
    : decoder_(std::make_unique<Decoder>(path, std::move(stop))) {}

AudioFileReader::~AudioFileReader() = default;

std::span<const std::int16_t> AudioFileReader::read() {
    return decoder_->read();
}

double AudioFileReader::share() const {
    return decoder_->share();
}

} // namespace talkledger
