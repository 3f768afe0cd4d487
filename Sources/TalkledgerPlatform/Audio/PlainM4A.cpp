#include "TalkledgerPlatform/Audio/PlainM4A.h"

#include "TalkledgerPlatform/Audio/Ffmpeg.h"
#include "TalkledgerPlatform/Audio/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <optional>
#include <system_error>

namespace talkledger {
namespace {

constexpr int kFramesPerPacket = 1024; // of AAC

struct OutputFile {
    AVIOContext* context{nullptr};

    OutputFile() = default;

    ~OutputFile() { close(); }

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int close() { return avio_closep(&context); }
};

bool copyPackets(AVFormatContext& input, AVFormatContext& output) {
    const AVStream& track = *input.streams[0];
    const ffmpeg::Packet packet(av_packet_alloc());
    std::optional<std::int64_t> end;
    int result = 0;
    while ((result = av_read_frame(&input, packet.get())) >= 0) {
        if (packet->stream_index == 0) {
            if (!end) {
                end = packet->pts + track.duration;
            }
            // The last packet's own length, shorter than the others, is known from the track's only.
            packet->duration = std::clamp<std::int64_t>(*end - packet->pts, 0, kFramesPerPacket);
            av_packet_rescale_ts(packet.get(), track.time_base, output.streams[0]->time_base);
            packet->pos = -1;
            if (av_write_frame(&output, packet.get()) < 0) {
                return false;
            }
        }
        av_packet_unref(packet.get());
    }
    return result == AVERROR_EOF;
}

bool writePlain(const std::filesystem::path& source, const std::filesystem::path& target) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, ffmpeg::url(source).c_str(), av_find_input_format("mp4"), nullptr) < 0) {
        return false;
    }
    const ffmpeg::Input input(opened);
    AVFormatContext* allocated = nullptr;
    if (input->nb_streams != 1 || avformat_alloc_output_context2(&allocated, nullptr, "ipod", nullptr) < 0) {
        return false;
    }
    OutputFile file;
    const ffmpeg::Output output(allocated);
    // The muxer opens the file once more by this name to move the samples behind the index.
    output->url = av_strdup(ffmpeg::url(target).c_str());
    if (avio_open(&file.context, output->url, AVIO_FLAG_WRITE) < 0) {
        return false;
    }
    output->pb = file.context;
    // The encoder's lead-in has times below zero: they stay, and the index tells players to skip it.
    output->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    AVStream* track = avformat_new_stream(output.get(), nullptr);
    if (track == nullptr || avcodec_parameters_copy(track->codecpar, input->streams[0]->codecpar) < 0) {
        return false;
    }
    track->time_base = input->streams[0]->time_base;
    ffmpeg::Dictionary options;
    options.set("movflags", "faststart");
    return avformat_write_header(output.get(), &options.entries) >= 0 && copyPackets(*input, *output) &&
           av_write_trailer(output.get()) >= 0 && file.close() >= 0;
}

bool synchronise(const std::filesystem::path& path) {
    const FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return descriptor.number() >= 0 && fsync(descriptor.number()) == 0;
}

} // namespace

bool rewriteAsPlainM4A(const std::filesystem::path& path) noexcept {
    try {
        const std::filesystem::path temporary = path.parent_path() / ("." + path.filename().string() + ".new");
        FileDescriptor::create(temporary); // private from the first byte on
        std::error_code error;
        if (writePlain(path, temporary) && synchronise(temporary)) {
            std::filesystem::rename(temporary, path, error);
            if (!error) {
                synchronise(path.parent_path());
                return true;
            }
        }
        std::filesystem::remove(temporary, error);
    } catch (const std::exception&) { // the fragmented file is as good, only slower to open
    }
    return false;
}

} // namespace talkledger
