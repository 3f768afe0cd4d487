#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/SpokenAudio.h"
#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

namespace talkledger {
namespace {

using testing::Samples;

Samples readAll(const std::filesystem::path& path) {
    AudioFileReader reader(path, std::stop_token());
    Samples samples;
    double share = 0;
    for (auto block = reader.read(); !block.empty(); block = reader.read()) {
        EXPECT_GE(reader.share(), share);
        share = reader.share();
        samples.insert(samples.end(), block.begin(), block.end());
    }
    return samples;
}

void encode(const std::filesystem::path& input, const std::vector<std::string>& options,
            const std::filesystem::path& output) {
    std::vector<std::string> arguments{"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", input.string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(output.string());
    testing::runProgram({.arguments = arguments}, std::chrono::seconds(60));
}

/// Where the loudest sample is, in seconds.
double clickTime(const Samples& samples) {
    const auto loudest = std::max_element(samples.begin(), samples.end());
    return static_cast<double>(loudest - samples.begin()) / AudioFileReader::sampleRate;
}

class AudioFileReaderTest : public ::testing::Test {
protected:
    Samples clickAt(double seconds, double length) {
        Samples samples = testing::silence(length);
        const auto start = static_cast<std::ptrdiff_t>(seconds * AudioFileReader::sampleRate);
        std::fill_n(samples.begin() + start, 16, std::int16_t{20000});
        return samples;
    }

    testing::TemporaryFolder folder_;
};

TEST_F(AudioFileReaderTest, KeepsTheTimesOfEveryKindOfRecording) {
    testing::writeWav(folder_ / "source.wav", clickAt(1.5, 4));
    const std::vector<std::string> fragmented{
        "-f",     "ipod", "-movflags", "delay_moov+frag_keyframe+empty_moov+default_base_moof", "-frag_duration",
        "1000000"};
    std::vector<std::string> fragmentedAac{"-ar", "48000", "-ac", "2", "-c:a", "aac", "-b:a", "128k"};
    fragmentedAac.insert(fragmentedAac.end(), fragmented.begin(), fragmented.end());
    encode(folder_ / "source.wav", {"-ar", "48000", "-ac", "2", "-c:a", "pcm_f32le"}, folder_ / "float.wav");
    encode(folder_ / "source.wav", {"-ar", "44100", "-ac", "6", "-c:a", "pcm_s24le", "-rf64", "always"},
           folder_ / "rf64.wav");
    encode(folder_ / "source.wav", {"-ar", "48000", "-ac", "2", "-c:a", "aac", "-b:a", "128k"}, folder_ / "plain.m4a");
    encode(folder_ / "source.wav", fragmentedAac, folder_ / "fragmented.m4a");
    for (const char* name : {"source.wav", "float.wav", "rf64.wav", "plain.m4a", "fragmented.m4a"}) {
        const Samples samples = readAll(folder_ / name);
        EXPECT_NEAR(clickTime(samples), 1.5, 0.002) << name;
        EXPECT_NEAR(static_cast<double>(samples.size()) / AudioFileReader::sampleRate, 4, 0.05) << name;
    }
}

TEST_F(AudioFileReaderTest, ReadsWhatIsThereOfAFileCutShort) {
    testing::writeWav(folder_ / "source.wav", clickAt(0.5, 10));
    encode(folder_ / "source.wav", {"-c:a", "aac", "-movflags", "frag_keyframe+empty_moov", "-frag_duration", "500000"},
           folder_ / "cut.m4a");
    std::filesystem::resize_file(folder_ / "source.wav", 200000);
    std::filesystem::resize_file(folder_ / "cut.m4a", std::filesystem::file_size(folder_ / "cut.m4a") / 2);
    for (const char* name : {"source.wav", "cut.m4a"}) {
        const Samples samples = readAll(folder_ / name);
        EXPECT_NEAR(clickTime(samples), 0.5, 0.07) << name;
        EXPECT_GT(samples.size(), 3U * AudioFileReader::sampleRate) << name;
        EXPECT_LT(samples.size(), 8U * AudioFileReader::sampleRate) << name;
    }
}

TEST_F(AudioFileReaderTest, NamesTheFileThatItCannotOpen) {
    std::ofstream(folder_ / "empty.wav").close();
    std::mt19937 random(3);
    std::ofstream garbage(folder_ / "garbage.m4a");
    for (int count = 0; count < 20000; ++count) {
        garbage.put(static_cast<char>(random()));
    }
    garbage.close();
    std::ofstream(folder_ / "playlist.wav") << "#EXTM3U\n#EXTINF:5\nother.wav\n";
    ASSERT_EQ(mkfifo((folder_ / "pipe.wav").c_str(), 0600), 0);
    for (const char* name : {"empty.wav", "garbage.m4a", "playlist.wav", "pipe.wav", "missing.wav", ""}) {
        try {
            readAll(folder_ / name);
            ADD_FAILURE() << name << " was opened";
        } catch (const AudioFileError& error) {
            EXPECT_THAT(error.what(), ::testing::HasSubstr((folder_ / name).string()));
        }
    }
}

TEST_F(AudioFileReaderTest, OutlivesDamagedFiles) {
    testing::writeWav(folder_ / "source.wav", testing::synthesize("synth 3 pinknoise vol 0.3"));
    encode(folder_ / "source.wav", {"-c:a", "aac"}, folder_ / "sound.m4a");
    std::ifstream input(folder_ / "sound.m4a", std::ios::binary);
    const std::string sound((std::istreambuf_iterator<char>(input)), {});
    std::mt19937 random(11);
    int opened = 0;
    for (int damage = 0; damage < 60; ++damage) {
        std::string damaged = sound;
        for (int count = 0; count < 20; ++count) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        std::ofstream(folder_ / "damaged.m4a", std::ios::binary) << damaged;
        try {
            readAll(folder_ / "damaged.m4a");
            ++opened;
        } catch (const AudioFileError&) {
            continue;
        }
    }
    EXPECT_GT(opened, 0);
}

TEST_F(AudioFileReaderTest, EndsAtAStopRequest) {
    testing::writeWav(folder_ / "long.wav", testing::silence(60));
    std::stop_source stop;
    AudioFileReader reader(folder_ / "long.wav", stop.get_token());
    EXPECT_FALSE(reader.read().empty());
    stop.request_stop();
    EXPECT_TRUE(reader.read().empty());
}

} // namespace
} // namespace talkledger
