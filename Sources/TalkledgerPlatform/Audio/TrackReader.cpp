#include "TalkledgerPlatform/Audio/TrackReader.h"

#include "TalkledgerPlatform/Audio/AudioFileError.h"
#include "TalkledgerPlatform/Audio/Ffmpeg.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <system_error>
#include <vector>

namespace talkledger {
namespace {

using Resampler = std::unique_ptr<SwrContext, ffmpeg::Releaser<swr_free>>;

constexpr AVRational kFrameTime{1, static_cast<int>(TrackReader::sampleRate)};

/// What a resampler is made for.
struct FrameFormat {
    int sampleFormat{-1};
    int sampleRate{0};
    int channels{0};

    bool operator==(const FrameFormat&) const = default;
};

AudioFileError notPlayable(const std::filesystem::path& path, const std::string& reason) {
    return {AudioFileError::Case::notPlayable, path, reason};
}

} // namespace

class TrackReader::Decoder {
public:
    explicit Decoder(const std::filesystem::path& path) : packet_(av_packet_alloc()), frame_(av_frame_alloc()) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error)) { // a pipe would wait for a writer
            throw notPlayable(path, "The file is missing.");
        }
        openInput(path);
        openDecoder(path);
    }

    void seek(std::int64_t frame) {
        samples_.clear();
        taken_ = 0;
        resampler_.reset();
        isAtEnd_ = false;
        isPlaced_ = false;
        wanted_ = std::max<std::int64_t>(frame, 0);
        const std::int64_t time = av_rescale_q(wanted_, kFrameTime, stream().time_base);
        if (av_seek_frame(input_.get(), stream().index, time, AVSEEK_FLAG_BACKWARD) < 0) {
            av_seek_frame(input_.get(), stream().index, 0, AVSEEK_FLAG_BACKWARD); // and reads on from there
        }
        avcodec_flush_buffers(decoder_.get());
    }

    std::size_t read(std::span<float> interleaved) {
        std::size_t written = 0;
        while (written < interleaved.size() && fill()) {
            const std::size_t count = std::min(interleaved.size() - written, samples_.size() - taken_);
            std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(taken_), count,
                        interleaved.begin() + static_cast<std::ptrdiff_t>(written));
            taken_ += count;
            written += count;
        }
        return written / channelCount;
    }

private:
    void openInput(const std::filesystem::path& path) {
        ffmpeg::Dictionary options;
        options.set("protocol_whitelist", "file");
        options.set("format_whitelist", "wav,mov");
        options.set("codec_whitelist", "aac,pcm_s16le,pcm_s24le,pcm_s32le,pcm_f32le");
        AVFormatContext* opened = nullptr;
        if (const int error = avformat_open_input(&opened, ffmpeg::url(path).c_str(), nullptr, &options.entries);
            error < 0) {
            throw notPlayable(path, ffmpeg::errorText(error) + ".");
        }
        input_.reset(opened);
        if (input_->nb_streams == 0 || stream().codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
            throw notPlayable(path, "It holds no sound.");
        }
    }

    void openDecoder(const std::filesystem::path& path) {
        const AVCodec* codec = avcodec_find_decoder(stream().codecpar->codec_id);
        decoder_.reset(avcodec_alloc_context3(codec));
        int outcome = codec == nullptr ? AVERROR_DECODER_NOT_FOUND
                                       : avcodec_parameters_to_context(decoder_.get(), stream().codecpar);
        if (outcome >= 0) {
            decoder_->pkt_timebase = stream().time_base;
            decoder_->thread_count = 1;
            outcome = avcodec_open2(decoder_.get(), codec, nullptr);
        }
        if (outcome < 0) {
            throw notPlayable(path, ffmpeg::errorText(outcome) + ".");
        }
    }

    AVStream& stream() const { return *input_->streams[0]; }

    /// Whether there are samples to take.
    bool fill() {
        while (taken_ == samples_.size()) {
            samples_.clear();
            taken_ = 0;
            if (isAtEnd_) {
                return false;
            }
            decodeFrame();
        }
        return true;
    }

    void decodeFrame() {
        const int outcome = avcodec_receive_frame(decoder_.get(), frame_.get());
        if (outcome >= 0) {
            convert();
            av_frame_unref(frame_.get());
        } else if (outcome == AVERROR(EAGAIN)) {
            sendPacket();
        } else if (outcome != AVERROR_INVALIDDATA) { // a damaged passage: the next packet may be sound again
            isAtEnd_ = true;
            flushResampler();
        }
    }

    void sendPacket() {
        if (av_read_frame(input_.get(), packet_.get()) < 0) {
            avcodec_send_packet(decoder_.get(), nullptr); // the decoder hands out what it still holds
            return;
        }
        if (packet_->stream_index == stream().index) {
            avcodec_send_packet(decoder_.get(), packet_.get());
        }
        av_packet_unref(packet_.get());
    }

    void convert() {
        if (!isPlaced_) { // the first frame after a seek says where it lies; what follows lies behind it
            isPlaced_ = true;
            next_ = frame_->pts == AV_NOPTS_VALUE ? 0 : av_rescale_q(frame_->pts, stream().time_base, kFrameTime);
        }
        // A file may change its format on the way, and a resampler reads as many channels as it was made for.
        const FrameFormat format{frame_->format, frame_->sample_rate, frame_->ch_layout.nb_channels};
        if (!resampler_ || format != resampledFormat_) {
            flushResampler();
            makeResampler(format);
        }
        if (resampler_) {
            resample(const_cast<const std::uint8_t**>(frame_->extended_data), frame_->nb_samples);
        }
    }

    /// One channel stays as loud on both sides, which the library would turn down.
    void makeResampler(const FrameFormat& format) {
        resampledFormat_ = format;
        channels_ = std::min<std::size_t>(static_cast<std::size_t>(format.channels), channelCount);
        AVChannelLayout from{};
        AVChannelLayout to{};
        av_channel_layout_default(&from, format.channels);
        av_channel_layout_default(&to, static_cast<int>(channels_));
        SwrContext* made = nullptr;
        const int outcome =
            swr_alloc_set_opts2(&made, &to, AV_SAMPLE_FMT_FLT, sampleRate, &from,
                                static_cast<AVSampleFormat>(format.sampleFormat), format.sampleRate, 0, nullptr);
        av_channel_layout_uninit(&from);
        resampler_.reset(made);
        if (outcome < 0 || swr_init(made) < 0) {
            resampler_.reset();
        }
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
        resampled_.resize(static_cast<std::size_t>(room) * channels_);
        auto* output = reinterpret_cast<std::uint8_t*>(resampled_.data());
        const int frames = swr_convert(resampler_.get(), &output, room, input, count);
        for (std::int64_t frame = 0; frame < frames; ++frame) {
            if (next_++ >= wanted_) {
                const float* const sides = resampled_.data() + static_cast<std::size_t>(frame) * channels_;
                samples_.insert(samples_.end(), {sides[0], sides[channels_ - 1]});
            }
        }
    }

    ffmpeg::Packet packet_;
    ffmpeg::Frame frame_;
    ffmpeg::Input input_;
    ffmpeg::CodecContext decoder_;
    Resampler resampler_;
    FrameFormat resampledFormat_;
    std::size_t channels_{channelCount};
    std::vector<float> resampled_;
    std::vector<float> samples_;
    std::size_t taken_{0};
    std::int64_t wanted_{0};
    bool isPlaced_{false};
    std::int64_t next_{0}; ///< the number of the next sample that the resampler hands out
    bool isAtEnd_{false};
};

TrackReader::TrackReader(const std::filesystem::path& path) : decoder_(std::make_unique<Decoder>(path)) {}

TrackReader::~TrackReader() = default;

void TrackReader::seek(std::int64_t frame) {
    decoder_->seek(frame);
}

std::size_t TrackReader::read(std::span<float> interleaved) {
    return decoder_->read(interleaved);
}

} // namespace talkledger
