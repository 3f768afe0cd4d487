#include "TalkledgerCore/Transcription/SpeechAnalyzerBufferConverter.h"

#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <string>
#include <utility>

namespace talkledger {

namespace {

/// What a resampler may hand out beyond the buffer's own frames: those that it carried over from the one before.
constexpr double spareFrames = 256;

LiveSpeechTranscriptionSessionError conversionFailed(std::string message) {
    return LiveSpeechTranscriptionSessionError(LiveSpeechTranscriptionSessionError::Case::audioConversionFailed,
                                               std::move(message));
}

std::size_t bytesPerSample(AudioSampleFormat format) {
    return format == AudioSampleFormat::float32 ? sizeof(float) : sizeof(std::int16_t);
}

/// Hands the buffer over once; asked again, there is nothing now.
struct ConverterInputState {
    bool didProvideInput{false};

    AudioConverterInput provide(const SharedAudioBuffer& buffer) {
        if (std::exchange(didProvideInput, true)) {
            return {.status = AudioConverterInputStatus::noDataNow, .buffer = nullptr};
        }
        return {.status = AudioConverterInputStatus::haveData, .buffer = buffer};
    }
};

} // namespace

SpeechAnalyzerBufferConverter::SpeechAnalyzerBufferConverter(const AudioFormat& outputFormat,
                                                             AudioConversion& conversion)
    : outputFormat_(outputFormat), conversion_(conversion) {}

SharedAudioBuffer SpeechAnalyzerBufferConverter::convert(const SharedAudioBuffer& buffer) {
    if (buffer->format == outputFormat_) {
        return buffer;
    }
    AudioConverter& converter = converterFor(buffer->format);
    std::shared_ptr<AudioBuffer> output = makeOutputBuffer(convertedFrameCapacity(*buffer));
    ConverterInputState state;
    const AudioConverterOutcome outcome = converter.convert(*output, [&] { return state.provide(buffer); });
    if (outcome.error) {
        throw conversionFailed(*outcome.error);
    }
    switch (outcome.status) {
    case AudioConverterOutputStatus::haveData:
    case AudioConverterOutputStatus::inputRanDry:
    case AudioConverterOutputStatus::endOfStream:
        if (output->frameLength == 0) {
            throw conversionFailed("Converted buffer was empty.");
        }
        return output;
    case AudioConverterOutputStatus::error:
        throw conversionFailed("Audio converter returned an error.");
    }
    throw conversionFailed("Audio converter returned an unknown status.");
}

AudioConverter& SpeechAnalyzerBufferConverter::converterFor(const AudioFormatKey& key) {
    if (!converter_ || inputFormatKey_ != key) {
        std::unique_ptr<AudioConverter> converter = conversion_.makeConverter(key, outputFormat_);
        if (!converter) {
            throw conversionFailed("Unsupported input format.");
        }
        converter->setPrimeMethod(AudioConverterPrimeMethod::none);
        converter_ = std::move(converter);
        inputFormatKey_ = key;
    }
    return *converter_;
}

std::shared_ptr<AudioBuffer> SpeechAnalyzerBufferConverter::makeOutputBuffer(std::uint32_t frameCapacity) const {
    try {
        auto output = std::make_shared<AudioBuffer>();
        output->format = outputFormat_;
        output->frameLength = frameCapacity;
        const std::size_t frameBytes = outputFormat_.channelCount * bytesPerSample(outputFormat_.commonFormat);
        if (frameBytes > 0 && frameCapacity > output->samples.max_size() / frameBytes) {
            throw std::bad_alloc();
        }
        output->samples.resize(frameCapacity * frameBytes);
        return output;
    } catch (const std::bad_alloc&) {
        throw conversionFailed("Could not allocate output buffer.");
    }
}

std::uint32_t SpeechAnalyzerBufferConverter::convertedFrameCapacity(const AudioBuffer& from) const {
    const double frames =
        std::ceil(outputFormat_.sampleRate / from.format.sampleRate * static_cast<double>(from.frameLength)) +
        spareFrames;
    constexpr double most = std::numeric_limits<std::uint32_t>::max();
    return frames >= 1 ? static_cast<std::uint32_t>(std::min(frames, most)) : 1;
}

} // namespace talkledger
