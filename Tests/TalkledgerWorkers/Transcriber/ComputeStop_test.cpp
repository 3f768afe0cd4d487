#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/SpeechModelWriter.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"
#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace talkledger {
namespace {

TEST(ComputeStopTest, EndsTheEngineInTheMiddleOfAStage) {
    const WhisperEngines engines; // finds the engine's parts
    const testing::TemporaryFolder folder;
    testing::writeModel(folder / "ggml-test.bin", {.layers = 12});
    WhisperState state(std::make_shared<const WhisperModel>(folder / "ggml-test.bin"));
    const std::vector<float> samples(32000, 0.1F);
    const auto hear = [&](int lastQuestion) {
        int questions = 0;
        const auto passages =
            state.hear(samples, {.language = "en", .shouldStop = [&] { return ++questions == lastQuestion; }});
        EXPECT_EQ(passages.has_value(), questions != lastQuestion);
        return questions;
    };
    constexpr int early = 30; // of the encoder's operations, which are many more, and more than the stages are
    const int all = hear(-1);
    EXPECT_GT(all, 12 * early);
    EXPECT_EQ(hear(early), early) << "not asked again";
    EXPECT_EQ(hear(1), 1);
    EXPECT_EQ(hear(-1), all) << "what comes after is heard in full";
}

} // namespace
} // namespace talkledger
