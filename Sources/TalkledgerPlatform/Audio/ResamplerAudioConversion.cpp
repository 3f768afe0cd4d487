#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"

#include "TalkledgerPlatform/Audio/Ffmpeg.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace talkledger {

namespace {

using Resampler = std::unique_ptr<SwrContext, ffmpeg::Releaser<swr_free>>;

/// The library's own bound.
constexpr std::uint32_t mostChannels = 64;
constexpr double highestRate = 1'000'000;

using Planes = std::array<std::uint8_t*, mostChannels>;

bool isSupported(const AudioFormat& format) {
    return format.channelCount >= 1 && format.channelCount <= mostChannels && format.sampleRate >= 1 &&
           format.sampleRate <= highestRate && format.sampleRate == std::round(format.sampleRate);
}

AVSampleFormat sampleFormat(const AudioFormat& format) {
    switch (format.commonFormat) {
    case AudioSampleFormat::float32:
        return format.isInterleaved ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
    case AudioSampleFormat::int16:
        return format.isInterleaved ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S16P;
    }
    return AV_SAMPLE_FMT_NONE;
}

std::size_t bytesPerFrame(const AudioFormat& format) {
    return static_cast<std::size_t>(av_get_bytes_per_sample(sampleFormat(format))) * format.channelCount;
}

std::size_t planeCount(const AudioFormat& format) {
    return format.isInterleaved ? 1 : format.channelCount;
}

/// Where the samples from `frame` on stand, for each plane, in a buffer of that length.
Planes planesOf(std::byte* samples, const AudioFormat& format, std::uint32_t frameLength, std::uint32_t frame) {
    Planes planes{};
    const std::size_t bytes = bytesPerFrame(format) / planeCount(format);
    for (std::size_t plane = 0; plane < planeCount(format); ++plane) {
        planes[plane] = reinterpret_cast<std::uint8_t*>(samples) + (plane * frameLength + frame) * bytes;
    }
    return planes;
}

Resampler makeResampler(const AudioFormat& from, const AudioFormat& to) {
    AVChannelLayout inputLayout{};
    AVChannelLayout outputLayout{};
    av_channel_layout_default(&inputLayout, static_cast<int>(from.channelCount));
    av_channel_layout_default(&outputLayout, static_cast<int>(to.channelCount));
    SwrContext* context = nullptr;
    const int outcome =
        swr_alloc_set_opts2(&context, &outputLayout, sampleFormat(to), static_cast<int>(to.sampleRate), &inputLayout,
                            sampleFormat(from), static_cast<int>(from.sampleRate), 0, nullptr);
    av_channel_layout_uninit(&inputLayout);
    av_channel_layout_uninit(&outputLayout);
    Resampler resampler(context);
    if (outcome < 0 || swr_init(context) < 0) {
        return nullptr;
    }
    return resampler;
}

class ResamplerAudioConverter : public AudioConverter {
public:
    ResamplerAudioConverter(Resampler resampler, const AudioFormat& from, const AudioFormat& to)
        : resampler_(std::move(resampler)), from_(from), to_(to) {}

    /// The library knows no other than this one.
    void setPrimeMethod(AudioConverterPrimeMethod /*method*/) override {}

    AudioConverterOutcome convert(AudioBuffer& output, const AudioConverterInputBlock& input) override {
        const std::uint32_t capacity = output.frameLength;
        output.frameLength = 0;
        AudioConverterOutcome outcome = fill(output, capacity, input);
        compact(output, capacity);
        return outcome;
    }

private:
    AudioConverterOutcome fill(AudioBuffer& output, std::uint32_t capacity, const AudioConverterInputBlock& input) {
        while (output.frameLength < capacity) {
            const AudioConverterInput next = input();
            if (next.status == AudioConverterInputStatus::noDataNow) {
                return {.status = AudioConverterOutputStatus::inputRanDry, .error = std::nullopt};
            }
            const AudioBuffer* const buffer = next.buffer.get();
            const bool isEnd = next.status == AudioConverterInputStatus::endOfStream;
            if (!isEnd && (buffer == nullptr || !isSound(*buffer))) {
                return failed("The audio is not in the format that it was announced in.");
            }
            const MonotonicTime begin = heldBackFrom(isEnd ? end_ : buffer->time);
            if (output.frameLength == 0) {
                output.time = begin;
            }
            const int converted = isEnd ? resample(output, capacity, nullptr, 0) : resample(output, capacity, *buffer);
            if (converted < 0) {
                return failed(ffmpeg::errorText(converted));
            }
            output.frameLength += static_cast<std::uint32_t>(converted);
            if (isEnd) {
                return {.status = AudioConverterOutputStatus::endOfStream, .error = std::nullopt};
            }
        }
        return {.status = AudioConverterOutputStatus::haveData, .error = std::nullopt};
    }

    static AudioConverterOutcome failed(std::string error) {
        return {.status = AudioConverterOutputStatus::error, .error = std::move(error)};
    }

    bool isSound(const AudioBuffer& buffer) const {
        return buffer.format == from_ && buffer.samples.size() >= buffer.frameLength * bytesPerFrame(from_);
    }

    /// The time of the first frame that the filter holds back, when input goes on at `time`.
    MonotonicTime heldBackFrom(MonotonicTime time) const {
        return hasBegun_ ? time - std::chrono::nanoseconds(swr_get_delay(resampler_.get(), std::nano::den)) : time;
    }

    int resample(AudioBuffer& output, std::uint32_t capacity, const AudioBuffer& input) {
        hasBegun_ = true;
        end_ = input.time + std::chrono::nanoseconds(std::llround(static_cast<double>(input.frameLength) /
                                                                  from_.sampleRate * std::nano::den));
        // The library's input is not const, though it only reads it.
        auto* const samples = const_cast<std::byte*>(input.samples.data());
        const Planes planes = planesOf(samples, from_, input.frameLength, 0);
        return resample(output, capacity, planes.data(), static_cast<int>(input.frameLength));
    }

    int resample(AudioBuffer& output, std::uint32_t capacity, std::uint8_t* const* planes, int frames) {
        Planes outputPlanes = planesOf(output.samples.data(), to_, capacity, output.frameLength);
        return swr_convert(resampler_.get(), outputPlanes.data(), static_cast<int>(capacity - output.frameLength),
                           const_cast<const std::uint8_t**>(planes), frames);
    }

    /// Moves the planes, which stand at the distance of the capacity, together.
    void compact(AudioBuffer& output, std::uint32_t capacity) const {
        const std::size_t bytes = bytesPerFrame(to_) / planeCount(to_);
        for (std::size_t plane = 1; plane < planeCount(to_); ++plane) {
            std::memmove(output.samples.data() + plane * output.frameLength * bytes,
                         output.samples.data() + plane * capacity * bytes, output.frameLength * bytes);
        }
        output.samples.resize(output.frameLength * bytesPerFrame(to_));
    }

    Resampler resampler_;
    AudioFormat from_;
    AudioFormat to_;
    bool hasBegun_{false};
    MonotonicTime end_; ///< of the input so far
};

} // namespace

std::unique_ptr<AudioConverter> ResamplerAudioConversion::makeConverter(const AudioFormat& from,
                                                                        const AudioFormat& to) {
    if (!isSupported(from) || !isSupported(to)) {
        return nullptr;
    }
    Resampler resampler = makeResampler(from, to);
    return resampler ? std::make_unique<ResamplerAudioConverter>(std::move(resampler), from, to) : nullptr;
}

} // namespace talkledger
