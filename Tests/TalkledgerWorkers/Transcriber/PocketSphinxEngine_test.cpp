#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/PocketSphinxEngine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace talkledger {
namespace {

using testing::recognise;
using testing::Samples;
using testing::secondsOf;
using testing::silence;
using testing::speak;
using testing::synthesize;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check overlooks operators

std::string textOf(const std::vector<SpeechSegment>& segments) {
    std::string text;
    for (const SpeechSegment& segment : segments) {
        text += segment.text + ' ';
    }
    return text;
}

/// One engine for all tests, since loading its model takes most of their time; that it can be used again belongs to
/// what they test.
class PocketSphinxEngineTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        silencePocketSphinx();
        engine_ = std::make_unique<PocketSphinxEngine>(TALKLEDGER_POCKETSPHINX_MODELS);
    }

    static void TearDownTestSuite() { engine_.reset(); }

    static inline std::unique_ptr<PocketSphinxEngine> engine_;
};

TEST_F(PocketSphinxEngineTest, UnderstandsPlainBusinessEnglish) {
    const std::vector<std::string> sentences{
        "Thank you for taking the time to meet with us today.",
        "We have a budget of twenty thousand dollars for this year.",
        "I will send you the proposal by Friday afternoon.",
        "We need the approval of our director.",
        "Please share the security report before the meeting.",
    };
    const std::pair<const char*, double> voices[] = {{"rms", 0.15}, {"slt", 0.25}};
    for (const auto& [voice, worstErrorRate] : voices) {
        Samples samples = silence(0.5);
        std::string spoken;
        for (const std::string& sentence : sentences) {
            samples = std::move(samples) + speak(voice, sentence) + silence(1);
            spoken += sentence + ' ';
        }
        const std::string heard = textOf(recognise(*engine_, samples));
        EXPECT_LE(testing::wordErrorRate(spoken, heard), worstErrorRate) << voice << ": " << heard;
    }
}

TEST_F(PocketSphinxEngineTest, GivesEachSentenceItsTrueTime) {
    const Samples first = speak("rms", "We have a budget for this year.");
    const Samples second = speak("rms", "I will send you the proposal by Friday afternoon.");
    const double pause = 2.5;
    const double firstStart = 1.2;
    const double secondStart = firstStart + secondsOf(first) + pause;
    const std::vector<SpeechSegment> segments =
        recognise(*engine_, silence(firstStart) + first + silence(pause) + second + silence(1));
    ASSERT_THAT(segments, ::testing::SizeIs(2)) << textOf(segments);
    EXPECT_NEAR(segments[0].start, firstStart, 0.3);
    EXPECT_NEAR(segments[0].start + segments[0].duration, firstStart + secondsOf(first), 0.3);
    EXPECT_NEAR(segments[1].start, secondStart, 0.3);
    EXPECT_NEAR(segments[1].start + segments[1].duration, secondStart + secondsOf(second), 0.3);
}

TEST_F(PocketSphinxEngineTest, TellsWhatItSeemsToBeUntilItIsCertain) {
    const Samples samples = silence(0.5) + speak("rms", "We have a budget of twenty thousand dollars for this year.") +
                            silence(2) + speak("slt", "I will send you the proposal by Friday afternoon.") + silence(2);
    const std::vector<SpeechSegment> told = recognise(*engine_, samples, SpeechReporting::alsoHypotheses);
    std::vector<SpeechSegment> finals;
    std::vector<SpeechSegment> hypotheses; ///< since the last final one
    for (const SpeechSegment& segment : told) {
        if (!segment.isFinal) {
            EXPECT_TRUE(hypotheses.empty() || hypotheses.back().text != segment.text) << "told twice: " << segment.text;
            hypotheses.push_back(segment);
            continue;
        }
        EXPECT_THAT(hypotheses, ::testing::SizeIs(::testing::Ge(4U))) << "it grows: " << segment.text;
        EXPECT_EQ(hypotheses.back().text, segment.text) << "nothing stands that the final does not say";
        for (const SpeechSegment& hypothesis : hypotheses) {
            EXPECT_NEAR(hypothesis.start, segment.start, 0.3) << hypothesis.text;
        }
        finals.push_back(segment);
        hypotheses.clear();
    }
    EXPECT_THAT(hypotheses, ::testing::IsEmpty());
    EXPECT_EQ(finals, recognise(*engine_, samples)) << "the finals are those of a file";
}

TEST_F(PocketSphinxEngineTest, HearsTheSameAgainAfterAnotherVoiceAndAnUnfinishedStream) {
    const Samples sentence = speak("slt", "Please share the security report before the meeting.");
    const std::vector<SpeechSegment> before = recognise(*engine_, sentence);
    EXPECT_THAT(before, ::testing::SizeIs(1));
    recognise(*engine_, speak("rms", "We decided to start with a small pilot."));
    engine_->begin(SpeechReporting::finalSegments, [](const SpeechSegment&) { ADD_FAILURE(); }, {});
    engine_->append(sentence);
    EXPECT_EQ(recognise(*engine_, sentence), before);
}

TEST_F(PocketSphinxEngineTest, InventsNothing) {
    constexpr std::size_t heard = 5 * SpeechEngine::sampleRate; // of each; in full they take minutes
    for (const auto& [name, sound] : testing::soundsWithoutSpeech()) {
        const auto beginning = std::span(sound).first(heard);
        EXPECT_EQ(textOf(recognise(*engine_, beginning, SpeechReporting::alsoHypotheses)), "") << name;
    }
}

TEST_F(PocketSphinxEngineTest, FindsSpeechInNoise) {
    const std::string spoken = "I will send you the proposal by Friday afternoon.";
    const Samples speech = silence(2) + speak("slt", spoken) + silence(1);
    const Samples noise = synthesize("synth 10 whitenoise vol 0.02");
    const std::string heard = textOf(recognise(*engine_, testing::mixed(speech, noise)));
    EXPECT_LE(testing::wordErrorRate(spoken, heard), 0.34) << heard;
}

TEST(PocketSphinxEngineModel, SaysWhatToInstallWhenItIsMissing) {
    try {
        const PocketSphinxEngine engine("/nowhere");
        ADD_FAILURE();
    } catch (const SpeechEngineError& error) {
        EXPECT_THAT(error.what(), ::testing::HasSubstr("pocketsphinx-en-us"));
    }
}

} // namespace
} // namespace talkledger
