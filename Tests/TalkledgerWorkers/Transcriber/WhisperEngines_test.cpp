#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/SpeechModelWriter.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

using testing::Samples;
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

    static std::vector<SpeechSegment> recognise(SpeechEngine& engine, std::span<const std::int16_t> samples,
                                                SpeechReporting reporting) {
        std::vector<SpeechSegment> segments;
        engine.begin(reporting, [&](const SpeechSegment& segment) { segments.push_back(segment); }, {});
        while (!samples.empty()) {
            const std::size_t length = std::min<std::size_t>(samples.size(), 1000); // no multiple of a frame
            engine.append(samples.first(length));
            samples = samples.subspan(length);
        }
        engine.finish();
        return segments;
    }

    static double seconds(const Samples& samples) {
        return static_cast<double>(samples.size()) / SpeechEngine::sampleRate;
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
    EXPECT_NEAR(speech, seconds(first) + seconds(second), 1);
    const auto segments = recognise(*made, samples, SpeechReporting::finalSegments);
    ASSERT_FALSE(segments.empty());
    EXPECT_NEAR(segments.front().start, 3, 0.5);
    EXPECT_DOUBLE_EQ(made->heardSpeech(), speech);
}

} // namespace
} // namespace talkledger
