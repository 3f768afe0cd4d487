#include "TalkledgerPlatform/Audio/PlainM4A.h"

#include "TalkledgerPlatform/Audio/Ffmpeg.h"
#include "TalkledgerPlatform/Audio/FileDescriptor.h"
#include "TalkledgerPlatform/Files/Durability.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

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
                end = av_sat_add64(packet->pts, track.duration); // the file may claim anything
            }
            // The last packet's own length, shorter than the others, is known from the track's only.
            packet->duration = std::clamp<std::int64_t>(av_sat_sub64(*end, packet->pts), 0, kFramesPerPacket);
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
    if (input->nb_streams != 1 || input->streams[0]->codecpar->codec_id != AV_CODEC_ID_AAC ||
        avformat_alloc_output_context2(&allocated, nullptr, "ipod", nullptr) < 0) {
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

/// A new file, private from its first byte on, that takes another one's place when it is whole. Until then it has no
/// name, where the file system knows such files: a kill leaves nothing of it behind.
class Replacement {
public:
    /// Throws AudioFileError.
    explicit Replacement(const std::filesystem::path& replaced)
        : replaced_(replaced),
          name_(replaced.parent_path() / ("." + replaced.filename().string() + ".new")),
          descriptor_(create()) {}

    ~Replacement() {
        if (hasName_) {
            unlink(name_.c_str());
        }
    }

    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// By which this process can open it.
    std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(descriptor_.number()); }

    bool takePlace() {
        if (fdatasync(descriptor_.number()) != 0 || !takeName() || rename(name_.c_str(), replaced_.c_str()) != 0) {
            return false;
        }
        hasName_ = false;
        synchroniseFolder(replaced_.parent_path());
        return true;
    }

private:
    FileDescriptor create() {
        const int nameless = open(replaced_.parent_path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
        hasName_ = nameless < 0;
        return hasName_ ? FileDescriptor::create(name_) : FileDescriptor(nameless);
    }

    bool takeName() {
        if (!hasName_) {
            unlink(name_.c_str()); // of a kill at just this point
            hasName_ = linkat(AT_FDCWD, path().c_str(), AT_FDCWD, name_.c_str(), AT_SYMLINK_FOLLOW) == 0;
        }
        return hasName_;
    }

    std::filesystem::path replaced_;
    std::filesystem::path name_;
    bool hasName_{false};
    FileDescriptor descriptor_;
};

} // namespace

bool rewriteAsPlainM4A(const std::filesystem::path& path) noexcept {
    try {
        Replacement plain(path);
        return writePlain(path, plain.path()) && plain.takePlace();
    } catch (const std::exception&) { // the fragmented file is as good, only slower to open
        return false;
    }
}

} // namespace talkledger
