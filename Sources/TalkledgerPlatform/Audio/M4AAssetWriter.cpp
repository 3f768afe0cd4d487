#include "TalkledgerPlatform/Audio/M4AAssetWriter.h"

#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerPlatform/Audio/AudioFileError.h"
#include "TalkledgerPlatform/Audio/Ffmpeg.h"
#include "TalkledgerPlatform/Audio/PlainM4A.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <functional>
#include <span>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

constexpr int kStreamBufferBytes = 32 << 10;
constexpr int kSmallestRate = 8000;
constexpr int kLargestRate = 96000;
constexpr int kLargestChannelCount = 2;

/// Shifts of less than that between buffers are rounding, not missing frames.
constexpr double kToleratedShift = 0.001;

} // namespace

/// The encoder and the muxer behind it; throws AudioFileError.
class M4AAssetWriter::Encoder {
public:
    Encoder(const AssetWriterInputSettings& settings, GrowingFile& file, const std::filesystem::path& path)
        : path_(path) {
        openCodec(settings);
        openMuxer(file);
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        frame_->format = codec_->sample_fmt;
        frame_->nb_samples = codec_->frame_size;
        frame_->sample_rate = codec_->sample_rate;
        check(av_channel_layout_copy(&frame_->ch_layout, &codec_->ch_layout));
        check(av_frame_get_buffer(frame_.get(), 0));
    }

    /// Frames encoded or waiting to be.
    std::int64_t position() const { return encoded_ + waiting_; }

    /// `samples` are interleaved; null means silence.
    void add(const float* samples, std::int64_t frames) {
        const int channelCount = codec_->ch_layout.nb_channels;
        while (frames > 0) {
            if (waiting_ == 0) {
                check(av_frame_make_writable(frame_.get()));
            }
            const auto part = static_cast<int>(std::min<std::int64_t>(frames, codec_->frame_size - waiting_));
            for (int channel = 0; channel < channelCount; ++channel) {
                float* plane = reinterpret_cast<float*>(frame_->extended_data[channel]) + waiting_;
                for (int index = 0; index < part; ++index) {
                    plane[index] = samples != nullptr ? samples[index * channelCount + channel] : 0.0F;
                }
            }
            waiting_ += part;
            frames -= part;
            if (samples != nullptr) {
                samples += std::ptrdiff_t{part} * channelCount;
            }
            if (waiting_ == codec_->frame_size) {
                encodeFrame();
            }
        }
    }

    void finish() {
        if (waiting_ > 0) {
            encodeFrame();
        }
        check(avcodec_send_frame(codec_.get(), nullptr));
        writePackets();
        check(av_write_trailer(muxer_.get()));
        avio_flush(muxer_->pb);
        check(muxer_->pb->error);
    }

private:
    void openCodec(const AssetWriterInputSettings& settings) {
        const AVCodec* codec = avcodec_find_encoder_by_name("aac");
        if (codec == nullptr) {
            check(AVERROR_ENCODER_NOT_FOUND);
        }
        codec_.reset(avcodec_alloc_context3(codec));
        codec_->sample_fmt = AV_SAMPLE_FMT_FLTP;
        codec_->sample_rate = static_cast<int>(settings.sampleRate);
        codec_->bit_rate = settings.encoderBitRate;
        codec_->time_base = {1, codec_->sample_rate};
        codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        av_channel_layout_default(&codec_->ch_layout, static_cast<int>(settings.channelCount));
        // A third of the processor time of the other one, for some bits more.
        check(av_opt_set(codec_->priv_data, "aac_coder", "fast", 0));
        check(avcodec_open2(codec_.get(), codec, nullptr));
    }

    void openMuxer(GrowingFile& file) {
        AVFormatContext* muxer = nullptr;
        check(avformat_alloc_output_context2(&muxer, nullptr, "ipod", nullptr));
        muxer_.reset(muxer);
        auto* buffer = static_cast<std::uint8_t*>(av_malloc(kStreamBufferBytes));
        stream_.reset(avio_alloc_context(buffer, kStreamBufferBytes, 1, &file, nullptr, writeBytes, nullptr));
        if (stream_ == nullptr) {
            av_free(buffer);
            check(AVERROR(ENOMEM));
        }
        stream_->seekable = 0;
        muxer_->pb = stream_.get();
        muxer_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS;
        AVStream* track = avformat_new_stream(muxer_.get(), nullptr);
        track->time_base = codec_->time_base;
        check(avcodec_parameters_from_context(track->codecpar, codec_.get()));
        ffmpeg::Dictionary options;
        // The header waits for the first packets: only then does it know the encoder's lead-in.
        options.set("movflags", "delay_moov+frag_keyframe+empty_moov+default_base_moof");
        options.set("frag_duration", "1000000"); // microseconds
        check(avformat_write_header(muxer_.get(), &options.entries));
    }

    static int writeBytes(void* file, std::uint8_t* bytes, int count) {
        try {
            const bool isKept = static_cast<GrowingFile*>(file)->write({bytes, static_cast<std::size_t>(count)});
            return isKept ? count : AVERROR(ENOSPC);
        } catch (const std::exception&) {
            return AVERROR(ENOMEM);
        }
    }

    void encodeFrame() {
        frame_->pts = encoded_;
        frame_->nb_samples = static_cast<int>(waiting_);
        encoded_ += std::exchange(waiting_, 0);
        check(avcodec_send_frame(codec_.get(), frame_.get()));
        writePackets();
    }

    void writePackets() {
        while (true) {
            const int result = avcodec_receive_packet(codec_.get(), packet_.get());
            if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
                return;
            }
            check(result);
            av_packet_rescale_ts(packet_.get(), codec_->time_base, muxer_->streams[0]->time_base);
            packet_->stream_index = 0;
            check(av_write_frame(muxer_.get(), packet_.get()));
            av_packet_unref(packet_.get());
        }
    }

    void check(int result) const {
        if (result < 0) {
            throw AudioFileError(AudioFileError::Case::encoderFailed, path_, ffmpeg::errorText(result));
        }
    }

    std::filesystem::path path_;
    ffmpeg::CodecContext codec_;
    ffmpeg::Stream stream_;
    ffmpeg::Output muxer_;
    ffmpeg::Packet packet_;
    ffmpeg::Frame frame_;
    std::int64_t encoded_{0};
    std::int64_t waiting_{0}; ///< frames in `frame_`
};

M4AAssetWriter::M4AAssetWriter(const std::filesystem::path& path, AudioChannel channel, TrackHealthHandler health,
                               Executor blockingExecutor)
    : path_(path),
      health_(channel, std::move(health)),
      blockingExecutor_(std::move(blockingExecutor)),
      file_(path, blockingExecutor_) {}

M4AAssetWriter::~M4AAssetWriter() = default;

bool M4AAssetWriter::canAddInput(const AssetWriterInputSettings& settings) const {
    return !hasInput_ && status_ == AssetWriterStatus::unknown && settings.formatID == AssetAudioFormat::mpeg4AAC &&
           settings.sampleRate >= kSmallestRate && settings.sampleRate <= kLargestRate && settings.channelCount >= 1 &&
           settings.channelCount <= kLargestChannelCount && settings.encoderBitRate > 0;
}

void M4AAssetWriter::addInput(const AssetWriterInputSettings& settings) {
    settings_ = settings;
    hasInput_ = true;
}

void M4AAssetWriter::startWriting() {
    if (!hasInput_ || status_ != AssetWriterStatus::unknown) {
        return fail("The audio writer has no input.");
    }
    try {
        encoder_ = std::make_unique<Encoder>(settings_, file_, path_);
        status_ = AssetWriterStatus::writing;
    } catch (const AudioFileError& error) {
        fail(error.what());
    }
}

void M4AAssetWriter::startSession(MonotonicTime time) {
    sessionStart_ = time;
    hasSession_ = true;
}

bool M4AAssetWriter::isReadyForMoreMediaData() const {
    return status_ == AssetWriterStatus::writing && hasSession_ && !isFinished_;
}

std::int64_t M4AAssetWriter::framesUntil(MonotonicTime time) const {
    const std::chrono::duration<double> sinceStart = time - sessionStart_;
    return std::llround(sinceStart.count() * settings_.sampleRate) - encoder_->position();
}

void M4AAssetWriter::append(const AudioBuffer& buffer) {
    if (!isReadyForMoreMediaData()) {
        return;
    }
    const AudioFormat format{.commonFormat = AudioSampleFormat::float32,
                             .sampleRate = settings_.sampleRate,
                             .channelCount = settings_.channelCount,
                             .isInterleaved = true};
    if (buffer.format != format) {
        return fail(AudioFileError(AudioFileError::Case::unsupportedFormat, path_).what());
    }
    const auto tolerance = static_cast<std::int64_t>(kToleratedShift * settings_.sampleRate);
    std::int64_t missing = framesUntil(buffer.time);
    if (std::abs(missing) <= tolerance) {
        missing = 0;
    }
    const std::int64_t known = std::clamp<std::int64_t>(-missing, 0, buffer.frameLength);
    try {
        encoder_->add(nullptr, std::max<std::int64_t>(missing, 0));
        encoder_->add(buffer.floatSamples().data() + known * settings_.channelCount, buffer.frameLength - known);
    } catch (const AudioFileError& error) {
        return fail(error.what());
    }
    if (file_.isRemoved()) {
        return fail(AudioFileError(AudioFileError::Case::removed, path_).what());
    }
    file_.beginSync(); // a fragment a second
    health_.publish(!file_.hasWaitingBytes() && file_.lastSyncError() == 0);
}

void M4AAssetWriter::markAsFinished() {
    isFinished_ = true;
}

Task<void> M4AAssetWriter::finishWriting() {
    std::function<void()> finishFile = [this] { finish(); };
    return runOn(blockingExecutor_, std::move(finishFile));
}

void M4AAssetWriter::finish() {
    if (status_ != AssetWriterStatus::writing) {
        return;
    }
    try {
        encoder_->finish();
        encoder_.reset();
    } catch (const AudioFileError& error) {
        return fail(error.what());
    }
    const int error = file_.flush() ? file_.synchronise() : file_.lastError();
    if (error != 0) {
        const std::string reason = std::generic_category().message(error);
        return fail(AudioFileError(AudioFileError::Case::notWritten, path_, reason).what());
    }
    rewriteAsPlainM4A(path_);
    status_ = AssetWriterStatus::completed;
}

void M4AAssetWriter::cancelWriting() noexcept {
    encoder_.reset();
    status_ = AssetWriterStatus::cancelled;
}

void M4AAssetWriter::fail(const std::string& description) {
    status_ = AssetWriterStatus::failed;
    error_ = description;
    encoder_.reset();
    health_.publish(false);
}

AssetWriterStatus M4AAssetWriter::status() const {
    return status_;
}

std::optional<std::string> M4AAssetWriter::error() const {
    return error_;
}

} // namespace talkledger
