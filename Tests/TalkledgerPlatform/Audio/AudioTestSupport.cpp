#include "TalkledgerPlatform/Audio/AudioTestSupport.h"

#include "TalkledgerPlatform/Audio/Ffmpeg.h"

#include <sndfile.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <numbers>
#include <stdexcept>

namespace talkledger::testing {
namespace {

void appendFrame(const AVFrame& frame, AVRational timeBase, std::vector<float>& samples) {
    const bool isPlanar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format)) != 0;
    const int stride = isPlanar ? 1 : frame.ch_layout.nb_channels;
    const auto* first = reinterpret_cast<const float*>(frame.extended_data[0]);
    // The encoder's lead-in lies before zero.
    const auto begin = frame.pts == AV_NOPTS_VALUE ? static_cast<std::int64_t>(samples.size())
                                                   : av_rescale_q(frame.pts, timeBase, {1, frame.sample_rate});
    // The last frame is whole; how much of it counts, the file says.
    const std::int64_t told = av_rescale_q(frame.pkt_duration, timeBase, {1, frame.sample_rate});
    const std::int64_t count = told > 0 ? std::min<std::int64_t>(told, frame.nb_samples) : frame.nb_samples;
    for (std::int64_t index = 0; index < count; ++index) {
        if (begin + index >= 0) {
            samples.push_back(first[index * stride]);
        }
    }
}

} // namespace

void writeWave(const std::filesystem::path& path, const std::vector<float>& samples, int channelCount, int rate) {
    SF_INFO format{};
    format.samplerate = rate;
    format.channels = channelCount;
    format.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &format);
    if (file == nullptr) {
        throw std::runtime_error("Could not write " + path.string());
    }
    sf_write_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

std::vector<float> tone(double frequency, double seconds, double level) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * kTestRate));
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(frame) / kTestRate;
        samples[frame] = static_cast<float>(level * std::cos(angle));
    }
    return samples;
}

std::vector<float> decodeFirstChannel(const std::filesystem::path& path) {
    std::vector<float> samples;
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, ffmpeg::url(path).c_str(), nullptr, nullptr) < 0) {
        return samples;
    }
    const ffmpeg::Input input(opened);
    if (input->nb_streams == 0) {
        return samples;
    }
    const AVStream& track = *input->streams[0];
    const AVCodec* codec = avcodec_find_decoder(track.codecpar->codec_id);
    const ffmpeg::CodecContext decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), track.codecpar);
    decoder->pkt_timebase = track.time_base;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        return samples;
    }
    const ffmpeg::Packet packet(av_packet_alloc());
    const ffmpeg::Frame frame(av_frame_alloc());
    bool isAtEnd = false;
    while (!isAtEnd) {
        isAtEnd = av_read_frame(input.get(), packet.get()) < 0;
        if (avcodec_send_packet(decoder.get(), isAtEnd ? nullptr : packet.get()) < 0) {
            break; // cut off in the middle
        }
        av_packet_unref(packet.get());
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            appendFrame(*frame, track.time_base, samples);
        }
    }
    return samples;
}

FileSizeLimit::FileSizeLimit(std::uintmax_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN); // an error of the write, as a full disk is
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace talkledger::testing
