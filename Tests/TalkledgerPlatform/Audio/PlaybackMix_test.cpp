#include "Support/ChildProcess.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"
#include "TalkledgerPlatform/Audio/PlaybackMix.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <memory>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::kTestRate;
using testing::makeBuffer;
using testing::runTask;
using testing::TemporaryFolder;
using testing::timeOfFrame;
using testing::tone;
using testing::writeWave;

/// Each sample says where it is, far below the loudest.
float sampleAt(std::size_t frame) {
    return static_cast<float>(static_cast<double>(frame % 4000) / 8000);
}

std::vector<float> places(std::size_t frames, std::size_t channels = 1) {
    std::vector<float> samples;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        samples.insert(samples.end(), channels, sampleAt(frame));
    }
    return samples;
}

/// The left side, read in parts.
std::vector<float> readAll(PlaybackMix& mix) {
    std::vector<float> left;
    std::vector<float> part(2 * 1000);
    for (std::size_t count = 1000; count == 1000;) {
        count = mix.read(part);
        for (std::size_t frame = 0; frame < count; ++frame) {
            left.push_back(part[2 * frame]);
            EXPECT_NEAR(part[2 * frame], part[2 * frame + 1], 1e-4);
        }
    }
    return left;
}

class PlaybackMixTest : public ::testing::Test {
protected:
    PlaybackMixTest() { writeWave(wave_, places(kTestRate)); }

    /// Half a second of silence and half a one of a tone, as the recorder writes them.
    void writeM4A() {
        boost::asio::io_context context;
        boost::asio::thread_pool pool(1);
        PlatformAudioFiles files(pool.get_executor(), {});
        const auto writer = files.makeAssetWriter(m4a_, AssetFileType::m4a, AudioChannel::speaker);
        writer->addInput({});
        writer->startWriting();
        writer->startSession(timeOfFrame(0));
        std::vector<float> samples(kTestRate);
        for (const float sample : tone(1000, 0.5)) {
            samples.insert(samples.end(), 2, sample);
        }
        writer->append(makeBuffer(samples, 2));
        writer->markAsFinished();
        runTask(context, writer->finishWriting());
    }

    TemporaryFolder folder_;
    std::filesystem::path wave_{folder_ / "mic.wav"};
    std::filesystem::path m4a_{folder_ / "speaker.m4a"};
};

TEST_F(PlaybackMixTest, BeginsAtAnySampleOfATrackThatBeginsAnywhere) {
    for (const auto& [start, from] : {std::pair(0.0, 0.0), {0.0, 0.5}, {0.25, 0.25}, {0.25, 0.75}, {0.0, 0.9999}}) {
        PlaybackMix mix({.tracks = {{.file = wave_, .start = start}}, .from = from});
        const std::vector<float> left = readAll(mix);
        const auto first = static_cast<std::size_t>(std::llround((from - start) * kTestRate));
        ASSERT_EQ(left.size(), kTestRate - first);
        EXPECT_EQ(left.front(), sampleAt(first));
        EXPECT_EQ(left.back(), sampleAt(kTestRate - 1));
    }
    PlaybackMix late({.tracks = {{.file = wave_, .start = 0.25}}, .from = 0});
    const std::vector<float> left = readAll(late);
    ASSERT_EQ(left.size(), kTestRate * 5 / 4);
    EXPECT_EQ(left[kTestRate / 4 - 1], 0);
    EXPECT_EQ(left[kTestRate / 4 + 3999], sampleAt(3999));
    PlaybackMix beyond({.tracks = {{.file = wave_, .start = 0}}, .from = 5});
    EXPECT_TRUE(readAll(beyond).empty());
}

TEST_F(PlaybackMixTest, AddsTracksUpAndOutlastsTheShorterOne) {
    const auto other = folder_ / "other.wav";
    writeWave(other, places(kTestRate / 2, 2), 2);
    PlaybackMix mix({.tracks = {{.file = wave_, .start = 0}, {.file = other, .start = 0}}, .from = 0});
    const std::vector<float> left = readAll(mix);
    ASSERT_EQ(left.size(), kTestRate);
    EXPECT_EQ(left[3000], 2 * sampleAt(3000));
    EXPECT_EQ(left[kTestRate / 2 + 100], sampleAt(kTestRate / 2 + 100));
}

TEST_F(PlaybackMixTest, ReadsWhatTheRecorderWrites) {
    writeM4A();
    const auto slow = folder_ / "slow.wav";
    writeWave(slow, places(16000), 1, 16000);
    PlaybackMix atOtherRate({.tracks = {{.file = slow, .start = 0}}, .from = 0});
    EXPECT_NEAR(static_cast<double>(readAll(atOtherRate).size()), kTestRate, 50);
    for (const double from : {0.0, 0.3}) {
        PlaybackMix mix({.tracks = {{.file = m4a_, .start = 0}}, .from = from});
        const std::vector<float> left = readAll(mix);
        const auto begun = std::ranges::find_if(left, [](float sample) { return std::abs(sample) > 0.1; });
        EXPECT_NEAR(static_cast<double>(begun - left.begin()) / kTestRate, 0.5 - from, 0.003);
        EXPECT_NEAR(static_cast<double>(left.size()) / kTestRate, 1 - from, 0.03);
    }
}

TEST_F(PlaybackMixTest, FollowsAFileThatGainsAChannelOnTheWay) {
    const std::string encoder = "ffmpeg -v error -f lavfi -i ";
    testing::ChildProcess shell(
        {.arguments = {"sh", "-ec",
                       encoder + "sine=duration=1 one.aac; " + encoder +
                           "'aevalsrc=0|sin(2000*t):d=1' two.aac; cat one.aac two.aac >both.aac; " +
                           "ffmpeg -v error -i both.aac -c copy speaker.m4a"},
         .workingDirectory = folder_.path()});
    ASSERT_EQ(shell.wait(std::chrono::seconds(60)), 0) << shell.standardError();
    PlaybackMix mix({.tracks = {{.file = m4a_, .start = 0}}, .from = 0});
    std::vector<float> sides(2 * kTestRate * 3 / 2);
    ASSERT_EQ(mix.read(sides), kTestRate * 3 / 2);
    sides.erase(sides.begin(), sides.end() - 2 * kTestRate / 4); // the last quarter of a second lies in the second part
    float left = 0;
    float right = 0;
    for (std::size_t sample = 0; sample < sides.size(); sample += 2) {
        left = std::max(left, std::abs(sides[sample]));
        right = std::max(right, std::abs(sides[sample + 1]));
    }
    EXPECT_LT(left, 0.01);
    EXPECT_GT(right, 0.5);
}

TEST_F(PlaybackMixTest, LeavesOutWhatItCannotRead) {
    const auto broken = folder_ / "broken.m4a";
    std::ofstream(broken) << "no sound at all";
    std::ofstream(folder_ / "empty.wav");
    writeM4A();
    std::filesystem::resize_file(m4a_, std::filesystem::file_size(m4a_) / 3);
    PlaybackMix mix({.tracks = {{.file = folder_ / "missing.wav"},
                                {.file = broken},
                                {.file = folder_ / "empty.wav"},
                                {.file = folder_.path()},
                                {.file = m4a_},
                                {.file = wave_}}});
    std::vector<std::string> failures;
    for (const PlaybackMix::Failure& failure : mix.failures()) {
        EXPECT_EQ(failure.track, failures.size());
        failures.push_back(failure.description);
    }
    EXPECT_THAT(failures, ElementsAre("\"missing.wav\" cannot be played: The file is missing.",
                                      HasSubstr("\"broken.m4a\" cannot be played: "), HasSubstr("\"empty.wav\""),
                                      HasSubstr("cannot be played")));
    EXPECT_EQ(readAll(mix).size(), kTestRate);
    PlaybackMix nothing({.tracks = {{.file = broken}}});
    EXPECT_TRUE(nothing.isEmpty());
    EXPECT_TRUE(readAll(nothing).empty());
}

} // namespace
} // namespace talkledger
