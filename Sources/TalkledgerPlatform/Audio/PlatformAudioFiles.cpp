#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"

#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerPlatform/Audio/Ffmpeg.h"
#include "TalkledgerPlatform/Audio/M4AAssetWriter.h"
#include "TalkledgerPlatform/Audio/PlainM4A.h"
#include "TalkledgerPlatform/Audio/WaveFile.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

/// What the packets themselves say: the latest end of one, in the stream's time base.
std::int64_t endOfPackets(AVFormatContext& input) {
    const ffmpeg::Packet packet(av_packet_alloc());
    std::int64_t end = 0;
    while (av_read_frame(&input, packet.get()) >= 0) {
        if (packet->stream_index == 0 && packet->pts != AV_NOPTS_VALUE) {
            end = std::max(end, packet->pts + packet->duration);
        }
        av_packet_unref(packet.get());
    }
    return end;
}

/// The duration in seconds, in doubt the shorter one. The file is hostile until parsed: only the two containers that we
/// write are opened, no codec, and nothing beside the file.
std::optional<double> measure(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) { // a pipe would wait for a writer
        return std::nullopt;
    }
    ffmpeg::Dictionary options;
    options.set("protocol_whitelist", "file");
    options.set("format_whitelist", "wav,mov");
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, ffmpeg::url(path).c_str(), nullptr, &options.entries) < 0) {
        return std::nullopt;
    }
    const ffmpeg::Input input(opened);
    if (input->nb_streams == 0 || input->streams[0]->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
        return std::nullopt;
    }
    const AVStream& track = *input->streams[0];
    const AVCodecParameters& parameters = *track.codecpar;
    if (av_get_bits_per_sample(parameters.codec_id) > 0) { // plain samples: the file's size is the judge
        const std::int64_t bytesPerSecond = std::int64_t{parameters.sample_rate} * parameters.ch_layout.nb_channels *
                                            av_get_bits_per_sample(parameters.codec_id) / 8;
        const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path, error));
        if (error || bytesPerSecond <= 0 || track.duration <= 0) {
            return std::nullopt;
        }
        return std::min(static_cast<double>(track.duration) * av_q2d(track.time_base),
                        static_cast<double>(size - avio_tell(input->pb)) / static_cast<double>(bytesPerSecond));
    }
    const double end = static_cast<double>(endOfPackets(*input)) * av_q2d(track.time_base);
    return end > 0 ? std::optional(end) : std::nullopt;
}

} // namespace

PlatformAudioFiles::PlatformAudioFiles(Executor blockingExecutor, TrackHealthHandler health)
    : blockingExecutor_(std::move(blockingExecutor)), health_(std::move(health)) {
    av_log_set_level(AV_LOG_QUIET);
}

std::unique_ptr<AudioFile> PlatformAudioFiles::createFile(const std::filesystem::path& path, const AudioFormat& format,
                                                          AudioChannel channel) {
    return std::make_unique<WaveFile>(path, format, channel, health_, blockingExecutor_);
}

std::unique_ptr<AssetWriter> PlatformAudioFiles::makeAssetWriter(const std::filesystem::path& path,
                                                                 AssetFileType /*type*/, AudioChannel channel) {
    return std::make_unique<M4AAssetWriter>(path, channel, health_, blockingExecutor_);
}

Task<std::optional<double>> PlatformAudioFiles::duration(const std::filesystem::path& path) {
    std::function<std::optional<double>()> measureFile = [path] { return measure(path); };
    return runOn(blockingExecutor_, std::move(measureFile));
}

Task<void> PlatformAudioFiles::mend(std::filesystem::path path) {
    std::function<bool()> rewrite = [path] { return rewriteAsPlainM4A(path); };
    co_await runOn(blockingExecutor_, std::move(rewrite));
}

} // namespace talkledger
