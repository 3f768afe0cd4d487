#include "Rehearsal/AudioReading.h"

#include "Rehearsal/Waiting.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace talkledger::rehearsal {
namespace {

struct Deleter {
    void operator()(AVFormatContext* file) const { avformat_close_input(&file); }

    void operator()(AVCodecContext* decoder) const { avcodec_free_context(&decoder); }

    void operator()(AVPacket* packet) const { av_packet_free(&packet); }

    void operator()(AVFrame* frame) const { av_frame_free(&frame); }

    void operator()(SwrContext* converter) const { swr_free(&converter); }
};

template <typename T>
using Owned = std::unique_ptr<T, Deleter>;

class Reader {
public:
    explicit Reader(const std::filesystem::path& path) : path_(path) {
        AVFormatContext* opened = nullptr;
        check(avformat_open_input(&opened, path.c_str(), nullptr, nullptr));
        file_.reset(opened);
        check(avformat_find_stream_info(opened, nullptr));
        const AVCodec* codec = nullptr;
        streamIndex_ = check(av_find_best_stream(opened, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0));
        decoder_.reset(avcodec_alloc_context3(codec));
        check(avcodec_parameters_to_context(decoder_.get(), stream().codecpar));
        decoder_->pkt_timebase = stream().time_base;
        check(avcodec_open2(decoder_.get(), codec, nullptr));
    }

    Samples read() {
        const Owned<AVPacket> packet(av_packet_alloc());
        while (av_read_frame(file_.get(), packet.get()) >= 0) {
            if (packet->stream_index == streamIndex_ && avcodec_send_packet(decoder_.get(), packet.get()) >= 0) {
                takeFrames();
            }
            av_packet_unref(packet.get());
        }
        avcodec_send_packet(decoder_.get(), nullptr);
        takeFrames();
        convert(nullptr);
        return std::move(samples_);
    }

private:
    int check(int result) const {
        if (result < 0) {
            std::array<char, AV_ERROR_MAX_STRING_SIZE> reason{};
            av_strerror(result, reason.data(), reason.size());
            throw RehearsalError(path_.string() + " cannot be read as sound: " + reason.data() + ".");
        }
        return result;
    }

    const AVStream& stream() const { return *file_->streams[streamIndex_]; }

    void takeFrames() {
        const Owned<AVFrame> frame(av_frame_alloc());
        while (avcodec_receive_frame(decoder_.get(), frame.get()) >= 0) {
            convert(frame.get());
            av_frame_unref(frame.get());
        }
    }

    void makeConverter(AVFrame& frame) {
        SwrContext* converter = nullptr;
        check(swr_alloc_set_opts2(&converter, &frame.ch_layout, AV_SAMPLE_FMT_FLTP, kFrameRate, &frame.ch_layout,
                                  static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr));
        converter_.reset(converter);
        check(swr_init(converter));
    }

    /// A null frame is the end: what the converter still holds comes out.
    void convert(AVFrame* frame) {
        if (frame != nullptr && !converter_) {
            makeConverter(*frame);
        }
        if (!converter_) {
            return;
        }
        const int inputCount = frame != nullptr ? frame->nb_samples : 0;
        const int room = check(swr_get_out_samples(converter_.get(), inputCount));
        const int channels = decoder_->ch_layout.nb_channels;
        std::vector<Samples> converted(static_cast<std::size_t>(channels), Samples(static_cast<std::size_t>(room)));
        std::vector<std::uint8_t*> planes;
        planes.reserve(converted.size());
        for (Samples& channel : converted) {
            planes.push_back(reinterpret_cast<std::uint8_t*>(channel.data()));
        }
        auto** input = frame != nullptr ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
        const int count = check(swr_convert(converter_.get(), planes.data(), room, input, inputCount));
        // A fragmented file's priming frames are handed out; they stand before the time line's beginning.
        const std::int64_t priming = frame != nullptr && frame->pts != AV_NOPTS_VALUE && frame->pts < 0
                                         ? av_rescale_q(-frame->pts, stream().time_base, {1, kFrameRate})
                                         : 0;
        const auto begin = converted.front().begin() + std::min<std::int64_t>(priming, count);
        samples_.insert(samples_.end(), begin, converted.front().begin() + count);
    }

    std::filesystem::path path_;
    Owned<AVFormatContext> file_;
    Owned<AVCodecContext> decoder_;
    Owned<SwrContext> converter_;
    int streamIndex_{0};
    Samples samples_;
};

} // namespace

Samples readFirstChannel(const std::filesystem::path& file) {
    return Reader(file).read();
}

} // namespace talkledger::rehearsal
