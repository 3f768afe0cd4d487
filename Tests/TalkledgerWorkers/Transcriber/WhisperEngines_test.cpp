#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/SpeechModelWriter.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using testing::recognise;
using testing::Samples;
using testing::secondsOf;
using testing::silence;
using testing::speak;
using testing::synthesize;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check overlooks operators
using ::testing::HasSubstr;

class WhisperEnginesTest : public ::testing::Test {
protected:
    std::filesystem::path model(const testing::CannedModel& canned = {}) {
        testing::writeModel(folder / "ggml-test.bin", canned);
        return folder / "ggml-test.bin";
    }

    std::unique_ptr<SpeechEngine> engine() { return engines.make({.locale = "en_US", .model = model()}); }

    std::string refusalOf(const std::filesystem::path& path) {
        try {
            engines.check(path);
        } catch (const SpeechEngineError& error) {
            return error.what();
        }
        return "no refusal";
    }

    testing::TemporaryFolder folder;
    WhisperEngines engines;
};

TEST_F(WhisperEnginesTest, ChecksAModelBeforeItIsUsed) {
    EXPECT_EQ(refusalOf(model()), "no refusal");
    testing::writeVoiceModel(folder / "ggml-silero-test.bin", true);
    EXPECT_EQ(refusalOf(folder / "ggml-silero-test.bin"), "no refusal");
    EXPECT_THAT(refusalOf(folder / "missing.bin"), HasSubstr("missing.bin\" cannot be read"));
    std::ofstream(folder / "foreign.bin") << std::string(5000, 'x');
    EXPECT_THAT(refusalOf(folder / "foreign.bin"), HasSubstr("is no speech model"));
    // Without its last byte, and without its last tensor; both of which the engine takes for whole.
    const auto whole = std::filesystem::file_size(model());
    for (const std::uintmax_t length : {whole - 1, whole / 2, std::uintmax_t{100}, std::uintmax_t{4}}) {
        std::filesystem::resize_file(model(), length);
        EXPECT_THAT(refusalOf(folder / "ggml-test.bin"), HasSubstr("is not whole")) << length;
    }
    std::fstream hostile(model(), std::ios::binary | std::ios::in | std::ios::out);
    constexpr std::streamoff firstToken = 4 * 15 + 80 * 201 * 4;
    hostile.seekp(firstToken);
    hostile.write("\xFF\xFF\xFF\x7F", 4); // a word of two gigabytes
    hostile.close();
    EXPECT_THAT(refusalOf(folder / "ggml-test.bin"), HasSubstr("is no speech model"));
}

TEST_F(WhisperEnginesTest, GivesEachUtteranceOfAFileItsTrueTime) {
    const Samples first = speak("rms", "We have a budget for this year.");
    const Samples second = speak("slt", "I will send you the proposal by Friday afternoon.");
    const Samples samples = silence(3) + first + silence(20) + second + silence(5);
    const auto made = engine();
    const auto meter = made->makeMeter();
    meter->append(samples);
    const double speech = meter->finish();
    EXPECT_NEAR(speech, secondsOf(first) + secondsOf(second), 1);
    const auto segments = recognise(*made, samples, SpeechReporting::finalSegments);
    ASSERT_FALSE(segments.empty());
    EXPECT_NEAR(segments.front().start, 3, 0.5);
    EXPECT_DOUBLE_EQ(made->heardSpeech(), speech);
}

TEST_F(WhisperEnginesTest, TellsLiveWhatItSeemsToBeAndThenWhatItWas) {
    const Samples speech = speak("rms", "We have a budget of twenty thousand dollars for this year.");
    const auto made = engine();
    const auto told = recognise(*made, silence(1) + speech + silence(2), SpeechReporting::alsoHypotheses);
    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(told.back().isFinal);
    EXPECT_EQ(told.back().text, "we have a budget");
    EXPECT_NEAR(told.back().start, 1, 0.5);
    EXPECT_EQ(made->caught(), CaughtInventions{});
}

TEST_F(WhisperEnginesTest, TellsNothingAfterAStop) {
    const Samples speech = speak("rms", "We have a budget of twenty thousand dollars for this year.") + silence(1);
    const auto made = engine();
    for (const auto reporting : {SpeechReporting::finalSegments, SpeechReporting::alsoHypotheses}) {
        std::stop_source stop;
        made->begin(
            reporting, [](const SpeechSegment& segment) { ADD_FAILURE() << segment.text; }, stop.get_token());
        stop.request_stop();
        made->append(speech);
        made->finish();
        made->end();
        EXPECT_FALSE(recognise(*made, speech, reporting).empty()) << "the next stream";
    }
}

TEST_F(WhisperEnginesTest, HearsWithTheModelForVoicesWhereThereIsOne) {
    const Samples noise = synthesize("synth 4 pinknoise vol 0.1");
    for (const bool hears : {true, false}) {
        testing::writeVoiceModel(folder / "ggml-silero-test.bin", hears);
        const auto made = engines.make(
            {.locale = "ja_JP", .model = model(), .voiceModel = folder / "ggml-silero-test.bin", .otherLanguages = {}});
        EXPECT_EQ(recognise(*made, noise, SpeechReporting::finalSegments).empty(), !hears);
    }
}

TEST_F(WhisperEnginesTest, InventsNothing) {
    const auto made = engine();
    for (const auto& [name, sound] : testing::soundsWithoutSpeech()) {
        EXPECT_TRUE(recognise(*made, sound, SpeechReporting::alsoHypotheses).empty()) << name;
    }
}

TEST_F(WhisperEnginesTest, MissesNoSentenceInNoise) {
    const char* const sentences[] = {"Thank you for taking the time to meet with us today.",
                                     "We have a budget of twenty thousand dollars for this year.",
                                     "I will send you the proposal by Friday afternoon.",
                                     "We need the approval of our director.",
                                     "Please share the security report before the meeting.",
                                     "How much does it cost?",
                                     "Can you hear me?",
                                     "Yes, that works for us.",
                                     "No, not this week.",
                                     "Let us talk about the next steps.",
                                     "Our team is growing quickly.",
                                     "What does the contract say about support?",
                                     "I think we should start with a pilot.",
                                     "The price is too high.",
                                     "Who decides about this?",
                                     "We use another product at the moment.",
                                     "When can you deliver?",
                                     "I will call you tomorrow.",
                                     "That sounds good.",
                                     "It depends on the number of users.",
                                     "We had problems with the last update.",
                                     "Please send me an offer.",
                                     "How long does the installation take?",
                                     "Is training included?",
                                     "The data has to stay in Europe.",
                                     "We are happy with the result.",
                                     "Could you repeat that, please?",
                                     "My colleague will join us later.",
                                     "I agree with you.",
                                     "Let me check the calendar.",
                                     "Do you have a reference customer?",
                                     "The deadline is the end of March.",
                                     "We want to grow in Asia.",
                                     "Thank you very much.",
                                     "Goodbye.",
                                     "One moment, please.",
                                     "I am sorry, I am late.",
                                     "That is a good question.",
                                     "We will discuss it internally.",
                                     "See you next week."};
    const auto power = [](const Samples& samples) {
        double sum = 0;
        for (const std::int16_t sample : samples) {
            sum += static_cast<double>(sample) * sample;
        }
        return sum / static_cast<double>(samples.size());
    };
    constexpr double signalToNoise = 10; // as a ratio of powers, 10 dB
    const Samples noise = synthesize("synth 12 whitenoise vol 0.3");
    const auto made = engine();
    for (std::size_t index = 0; index < std::size(sentences); ++index) {
        const Samples speech = speak(index % 2 == 0 ? "rms" : "slt", sentences[index]);
        const double gain = std::sqrt(power(speech) / signalToNoise / power(noise));
        Samples fitting;
        for (const std::int16_t sample : noise) {
            fitting.push_back(static_cast<std::int16_t>(gain * sample));
        }
        const auto meter = made->makeMeter();
        meter->append(testing::mixed(silence(1.5) + speech + silence(1.5), fitting));
        EXPECT_GT(meter->finish(), 0) << sentences[index];
    }
}

} // namespace
} // namespace talkledger
