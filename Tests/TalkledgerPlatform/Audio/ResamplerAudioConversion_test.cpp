#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"
#include "TalkledgerCore/Transcription/SpeechAnalyzerBufferConverter.h"
#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

constexpr AudioFormat speechFormat{AudioSampleFormat::int16, 16000, 1, true};
constexpr MonotonicTime begin{1h};

AudioFormat floatFormat(double rate, std::uint32_t channels) {
    return {AudioSampleFormat::float32, rate, channels, true};
}

MonotonicTime timeOf(std::size_t frame, double rate) {
    return begin + std::chrono::nanoseconds(std::llround(static_cast<double>(frame) / rate * 1e9));
}

template <typename Sample>
SharedAudioBuffer makeBuffer(const AudioFormat& format, const std::vector<Sample>& samples, std::size_t firstFrame) {
    AudioBuffer buffer;
    buffer.format = format;
    buffer.frameLength = static_cast<std::uint32_t>(samples.size() / format.channelCount);
    buffer.time = timeOf(firstFrame, format.sampleRate);
    const auto bytes = std::as_bytes(std::span(samples));
    buffer.samples.assign(bytes.begin(), bytes.end());
    return std::make_shared<const AudioBuffer>(std::move(buffer));
}

AudioBuffer makeOutput(const AudioFormat& format, std::uint32_t capacity) {
    AudioBuffer output;
    output.format = format;
    output.frameLength = capacity;
    output.samples.resize(std::size_t{capacity} * format.channelCount *
                          (format.commonFormat == AudioSampleFormat::float32 ? 4 : 2));
    return output;
}

std::vector<std::int16_t> samplesOf(const AudioBuffer& buffer) {
    std::vector<std::int16_t> samples(buffer.samples.size() / sizeof(std::int16_t));
    std::copy(buffer.samples.begin(), buffer.samples.end(), std::as_writable_bytes(std::span(samples)).begin());
    return samples;
}

/// Two channels that differ, like people in a room do: tones within the band of speech, at a moderate level.
std::vector<float> tones(double rate, std::size_t frames) {
    std::vector<float> samples;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double phase = 2 * std::numbers::pi * static_cast<double>(frame) / rate;
        samples.push_back(static_cast<float>(0.4 * std::sin(440 * phase)));
        samples.push_back(static_cast<float>(0.3 * std::sin(1500 * phase)));
    }
    return samples;
}

double expectedTone(double seconds) {
    const double phase = 2 * std::numbers::pi * seconds;
    return (0.4 * std::sin(440 * phase) + 0.3 * std::sin(1500 * phase)) / 2 * 32768;
}

AudioConverterInputBlock once(SharedAudioBuffer buffer) {
    return [given = std::move(buffer)]() mutable -> AudioConverterInput {
        SharedAudioBuffer next = std::exchange(given, nullptr);
        const auto status = next ? AudioConverterInputStatus::haveData : AudioConverterInputStatus::noDataNow;
        return {.status = status, .buffer = std::move(next)};
    };
}

AudioConverterInput end() {
    return {.status = AudioConverterInputStatus::endOfStream, .buffer = nullptr};
}

struct Converted {
    std::vector<std::int16_t> samples;
    std::size_t beforeEnd{0}; ///< of the samples, those that came before the end of the input
};

/// Converts in chunks to the end, and holds each output's time against the count of samples.
Converted convertAll(double rate, const std::vector<float>& stereo, std::size_t chunkFrames) {
    ResamplerAudioConversion conversion;
    const auto converter = conversion.makeConverter(floatFormat(rate, 2), speechFormat);
    converter->setPrimeMethod(AudioConverterPrimeMethod::none);
    Converted converted;
    const auto take = [&](const AudioBuffer& output) {
        if (output.frameLength > 0) {
            const MonotonicTime counted = timeOf(converted.samples.size(), speechFormat.sampleRate);
            EXPECT_LE(std::chrono::abs(output.time - counted), 32us) << "half a sample";
        }
        const std::vector<std::int16_t> samples = samplesOf(output);
        converted.samples.insert(converted.samples.end(), samples.begin(), samples.end());
    };
    for (std::size_t frame = 0; frame < stereo.size() / 2; frame += chunkFrames) {
        const auto first = stereo.begin() + static_cast<std::ptrdiff_t>(2 * frame);
        const std::size_t count = std::min(chunkFrames, stereo.size() / 2 - frame);
        const std::vector<float> chunk(first, first + static_cast<std::ptrdiff_t>(2 * count));
        AudioBuffer output = makeOutput(speechFormat, static_cast<std::uint32_t>(2 * count + 256));
        const AudioConverterOutcome outcome =
            converter->convert(output, once(makeBuffer(floatFormat(rate, 2), chunk, frame)));
        EXPECT_EQ(outcome.status, AudioConverterOutputStatus::inputRanDry);
        take(output);
    }
    converted.beforeEnd = converted.samples.size();
    AudioBuffer output = makeOutput(speechFormat, 1000);
    EXPECT_EQ(converter->convert(output, end).status, AudioConverterOutputStatus::endOfStream);
    take(output);
    return converted;
}

TEST(ResamplerAudioConversion, KeepsSoundAndTimesThroughRateChannelsAndFormat) {
    for (const double rate : {8000.0, 16000.0, 44100.0, 48000.0, 96000.0}) {
        const auto frames = static_cast<std::size_t>(rate * 1.5);
        const Converted whole = convertAll(rate, tones(rate, frames), frames);
        const Converted pieces = convertAll(rate, tones(rate, frames), 1021);
        EXPECT_EQ(whole.samples, pieces.samples) << "at " << rate << ": no seam between buffers";
        EXPECT_NEAR(static_cast<double>(whole.samples.size()), 24000, 1) << "nothing is lost at the end, " << rate;
        EXPECT_GE(whole.beforeEnd, 24000U - 80) << "at most 5 ms are held back, " << rate;
        for (std::size_t index = 200; index < 23800; ++index) {
            ASSERT_NEAR(whole.samples[index], expectedTone(static_cast<double>(index) / 16000), 33)
                << "at " << rate << ", sample " << index;
        }
    }
}

TEST(ResamplerAudioConversion, UnderstandsEachLayout) {
    // The right channel is silent, so that a mix-up shows.
    std::vector<std::int16_t> planar;
    std::vector<float> interleaved;
    for (int frame = 0; frame < 480; ++frame) {
        planar.push_back(static_cast<std::int16_t>(frame * 20));
        interleaved.insert(interleaved.end(), {static_cast<float>(frame * 20) / 32768, 0});
    }
    planar.resize(960);
    ResamplerAudioConversion conversion;
    const AudioFormat planarFormat{AudioSampleFormat::int16, 48000, 2, false};
    const AudioFormat interleavedFormat = floatFormat(48000, 2);

    AudioBuffer output = makeOutput(interleavedFormat, 700);
    conversion.makeConverter(planarFormat, interleavedFormat)
        ->convert(output, once(makeBuffer(planarFormat, planar, 0)));
    ASSERT_EQ(output.frameLength, 480U);
    ASSERT_EQ(output.samples.size(), interleaved.size() * sizeof(float));
    EXPECT_EQ(std::memcmp(output.samples.data(), interleaved.data(), output.samples.size()), 0);

    AudioBuffer back = makeOutput(planarFormat, 700);
    conversion.makeConverter(interleavedFormat, planarFormat)
        ->convert(back, once(makeBuffer(interleavedFormat, interleaved, 0)));
    EXPECT_EQ(samplesOf(back), planar) << "the second plane follows the first one closely";
}

TEST(ResamplerAudioConversion, KeepsWhatFindsNoRoom) {
    ResamplerAudioConversion conversion;
    const auto converter = conversion.makeConverter(floatFormat(16000, 2), speechFormat);
    const SharedAudioBuffer buffer = makeBuffer(floatFormat(16000, 2), tones(16000, 1000), 0);
    AudioBuffer first = makeOutput(speechFormat, 600);
    EXPECT_EQ(converter->convert(first, once(buffer)).status, AudioConverterOutputStatus::haveData);
    AudioBuffer rest = makeOutput(speechFormat, 600);
    converter->convert(rest, end);
    EXPECT_EQ(first.frameLength + rest.frameLength, 1000U);
    EXPECT_EQ(rest.time, timeOf(600, 16000));
}

TEST(ResamplerAudioConversion, GivesNothingOfNothing) {
    ResamplerAudioConversion conversion;
    const auto converter = conversion.makeConverter(floatFormat(48000, 2), speechFormat);
    AudioBuffer output = makeOutput(speechFormat, 300);
    EXPECT_EQ(converter->convert(output, once(makeBuffer(floatFormat(48000, 2), std::vector<float>(), 0))).status,
              AudioConverterOutputStatus::inputRanDry);
    EXPECT_EQ(output.frameLength, 0U);
    output = makeOutput(speechFormat, 300);
    EXPECT_EQ(converter->convert(output, end).status, AudioConverterOutputStatus::endOfStream);
    EXPECT_EQ(output.frameLength, 0U);
}

TEST(ResamplerAudioConversion, RefusesWhatIsNoAudio) {
    ResamplerAudioConversion conversion;
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    for (const AudioFormat& format :
         {floatFormat(48000, 0), floatFormat(48000, 65), floatFormat(0, 2), floatFormat(-48000, 2),
          floatFormat(44100.5, 2), floatFormat(notANumber, 2), floatFormat(1e300, 2)}) {
        EXPECT_EQ(conversion.makeConverter(format, speechFormat), nullptr);
        EXPECT_EQ(conversion.makeConverter(speechFormat, format), nullptr);
    }

    const auto converter = conversion.makeConverter(floatFormat(48000, 2), speechFormat);
    AudioBuffer tooShort = *makeBuffer(floatFormat(48000, 2), tones(48000, 100), 0);
    tooShort.frameLength = 101;
    const SharedAudioBuffer otherFormat = makeBuffer(floatFormat(48000, 1), std::vector<float>(100), 0);
    for (const SharedAudioBuffer& buffer : {std::make_shared<const AudioBuffer>(tooShort), otherFormat}) {
        AudioBuffer output = makeOutput(speechFormat, 1000);
        const AudioConverterOutcome outcome = converter->convert(output, once(buffer));
        EXPECT_EQ(outcome.status, AudioConverterOutputStatus::error);
        EXPECT_TRUE(outcome.error);
        EXPECT_EQ(output.frameLength, 0U);
    }
}

TEST(ResamplerAudioConversion, FollowsACaptureThatChangesItsFormat) {
    ResamplerAudioConversion conversion;
    SpeechAnalyzerBufferConverter converter(speechFormat, conversion);
    std::mt19937 random(7);
    for (int count = 0; count < 60; ++count) {
        const double rate = count % 20 < 10 ? 48000 : 44100;
        const std::uint32_t channels = count % 30 < 15 ? 2 : 1;
        const std::size_t length = 900 + random() % 4000;
        const std::vector<float> samples(length * channels, 0.25F);
        const SharedAudioBuffer converted = converter.convert(makeBuffer(floatFormat(rate, channels), samples, 0));
        EXPECT_NEAR(converted->frameLength, static_cast<double>(length) / rate * 16000, 60);
    }
}

} // namespace
} // namespace talkledger
