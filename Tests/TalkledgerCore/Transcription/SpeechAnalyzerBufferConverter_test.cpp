#include "Fakes/FakeAudioConversion.h"
#include "Fakes/FakeAudioInput.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"
#include "TalkledgerCore/Transcription/SpeechAnalyzerBufferConverter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <utility>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr AudioFormat speechFormat{AudioSampleFormat::int16, 16000, 1, true};

SharedAudioBuffer makeBuffer(std::uint32_t frames, double rate = 48000, std::uint32_t channels = 2) {
    AudioBuffer buffer =
        testing::makeFloatBuffer(std::vector<float>(std::size_t{frames} * channels), channels, MonotonicTime());
    buffer.format.sampleRate = rate;
    return std::make_shared<const AudioBuffer>(std::move(buffer));
}

class SpeechAnalyzerBufferConverterTest : public ::testing::Test {
protected:
    std::string failureOf(const SharedAudioBuffer& buffer) { return failureOf(buffer, converter); }

    static std::string failureOf(const SharedAudioBuffer& buffer, SpeechAnalyzerBufferConverter& converter) {
        try {
            converter.convert(buffer);
        } catch (const LiveSpeechTranscriptionSessionError& error) {
            EXPECT_EQ(error.failure(), LiveSpeechTranscriptionSessionError::Case::audioConversionFailed);
            EXPECT_EQ(error.what(), "Live speech audio conversion failed: " + error.detail());
            return error.detail();
        }
        return "none";
    }

    testing::FakeAudioConversion conversion;
    SpeechAnalyzerBufferConverter converter{speechFormat, conversion};
};

TEST_F(SpeechAnalyzerBufferConverterTest, PassesOnABufferThatHasTheFormat) {
    auto buffer = std::make_shared<AudioBuffer>();
    buffer->format = speechFormat;
    EXPECT_EQ(converter.convert(buffer), buffer);
    EXPECT_THAT(conversion.log.calls(), IsEmpty());

    buffer->format.isInterleaved = false;
    EXPECT_NE(converter.convert(buffer), buffer);
}

TEST_F(SpeechAnalyzerBufferConverterTest, MakesOneConverterForEachRunOfAFormat) {
    converter.convert(makeBuffer(480));
    converter.convert(makeBuffer(960));
    EXPECT_THAT(conversion.log.calls(), ElementsAre("converter for 48000", "prime none"));
    converter.convert(makeBuffer(441, 44100));
    converter.convert(makeBuffer(441, 44100));
    EXPECT_THAT(conversion.log.calls(), SizeIs(4));

    conversion.unsupportedRate = 96000;
    EXPECT_EQ(failureOf(makeBuffer(960, 96000)), "Unsupported input format.");
    converter.convert(makeBuffer(441, 44100));
    EXPECT_THAT(conversion.log.calls(), SizeIs(4)) << "the one before is still there";
    converter.convert(makeBuffer(480));
    EXPECT_THAT(conversion.log.calls(), SizeIs(6)) << "a format that comes back begins a new stream";
}

TEST_F(SpeechAnalyzerBufferConverterTest, HandsEachBufferOverOnce) {
    const SharedAudioBuffer buffer = makeBuffer(480);
    for (const std::size_t call : {0U, 2U}) {
        EXPECT_EQ(converter.convert(buffer)->format, speechFormat);
        ASSERT_THAT(conversion.inputs, SizeIs(call + 2));
        EXPECT_EQ(conversion.inputs[call].status, AudioConverterInputStatus::haveData);
        EXPECT_EQ(conversion.inputs[call].buffer, buffer);
        EXPECT_EQ(conversion.inputs[call + 1].status, AudioConverterInputStatus::noDataNow);
    }
}

TEST_F(SpeechAnalyzerBufferConverterTest, GivesTheOutputRoomForWhatWasCarriedOver) {
    converter.convert(makeBuffer(4800));
    converter.convert(makeBuffer(4801));
    converter.convert(makeBuffer(100, 8000));
    EXPECT_THAT(conversion.capacities, ElementsAre(1856, 1857, 456));
    AudioBuffer strange = *makeBuffer(1);
    strange.frameLength = 0;
    EXPECT_EQ(converter.convertedFrameCapacity(strange), 256U);
    strange.frameLength = 1;
    strange.format.sampleRate = 0;
    EXPECT_EQ(converter.convertedFrameCapacity(strange), std::numeric_limits<std::uint32_t>::max());
    strange.format.sampleRate = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(converter.convertedFrameCapacity(strange), 1U);
}

TEST_F(SpeechAnalyzerBufferConverterTest, NamesWhatTheConverterSaid) {
    using Status = AudioConverterOutputStatus;
    for (const Status status : {Status::haveData, Status::inputRanDry, Status::endOfStream}) {
        conversion.outcome = {.status = status, .error = std::nullopt};
        conversion.frames = 10;
        EXPECT_EQ(failureOf(makeBuffer(480)), "none");
        conversion.frames = 0;
        EXPECT_EQ(failureOf(makeBuffer(480)), "Converted buffer was empty.");
        conversion.outcome.error = "the cable caught fire";
        EXPECT_EQ(failureOf(makeBuffer(480)), "the cable caught fire");
    }
    conversion.outcome = {.status = Status::error, .error = std::nullopt};
    EXPECT_EQ(failureOf(makeBuffer(480)), "Audio converter returned an error.");
    conversion.outcome.status = static_cast<Status>(4);
    EXPECT_EQ(failureOf(makeBuffer(480)), "Audio converter returned an unknown status.");
}

TEST_F(SpeechAnalyzerBufferConverterTest, SaysThatThereIsNoMemory) {
    AudioFormat monstrous = speechFormat;
    monstrous.channelCount = std::numeric_limits<std::uint32_t>::max();
    SpeechAnalyzerBufferConverter greedy(monstrous, conversion);
    auto buffer = std::make_shared<AudioBuffer>(*makeBuffer(1));
    buffer->frameLength = std::numeric_limits<std::uint32_t>::max();
    buffer->format.sampleRate = 16000;
    EXPECT_EQ(failureOf(buffer, greedy), "Could not allocate output buffer.");
}

} // namespace
} // namespace talkledger
