#include "Fakes/FakeDisk.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/Audio/AudioFileError.h"
#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/WaveFile.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <numeric>
#include <thread>

namespace talkledger {
namespace {

using testing::FileSizeLimit;
using testing::floatFormat;
using testing::makeBuffer;
using testing::TemporaryFolder;
using enum TrackHealthEvent;

/// Samples that tell their own place.
std::vector<float> ramp(std::size_t first, std::size_t count) {
    std::vector<float> samples(count);
    std::iota(samples.begin(), samples.end(), static_cast<float>(first));
    return samples;
}

/// What another program reads: the frame count, and `count` frames at `place`.
std::pair<std::int64_t, std::vector<float>> readWave(const std::filesystem::path& path, std::int64_t place,
                                                     std::size_t count) {
    SF_INFO format{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &format);
    if (file == nullptr) {
        return {-1, {}};
    }
    std::vector<float> samples(count);
    sf_seek(file, place, SEEK_SET);
    samples.resize(static_cast<std::size_t>(sf_readf_float(file, samples.data(), static_cast<sf_count_t>(count))));
    sf_close(file);
    return {format.frames, samples};
}

class WaveFileTest : public ::testing::Test {
protected:
    std::unique_ptr<WaveFile> makeFile() {
        return std::make_unique<WaveFile>(
            path_, floatFormat(1), AudioChannel::mic,
            [this](AudioChannel channel, TrackHealthEvent event) {
                EXPECT_EQ(channel, AudioChannel::mic);
                health_.push_back(event);
            },
            pool_.get_executor());
    }

    static void writeSeconds(WaveFile& file, int seconds) {
        for (int piece = 0; piece < seconds * 10; ++piece) {
            file.write(makeBuffer(std::vector<float>(testing::kTestRate / 10), 1));
        }
    }

    /// Until what runs on the pool has ended.
    void drainPool() { boost::asio::post(pool_, boost::asio::use_future).get(); }

    TemporaryFolder folder_;
    std::filesystem::path path_{folder_ / "mic.wav"};
    std::vector<TrackHealthEvent> health_;
    boost::asio::thread_pool pool_{1};
};

TEST_F(WaveFileTest, EverySecondReachesTheDiskAndASlowOneHoldsUpNoWrite) {
    testing::FakeDisk disk;
    auto file = makeFile();
    for (int second = 1; second <= 3; ++second) {
        writeSeconds(*file, 1);
        disk.waitForSyncs(second);
        drainPool();
    }
    EXPECT_EQ(disk.syncs(), 3);
    disk.hold();
    writeSeconds(*file, 5);
    disk.waitForSyncs(4);
    EXPECT_EQ(readWave(path_, 0, 1).first, 8 * testing::kTestRate);
    std::thread closing([&file] { file.reset(); });
    disk.letGo();
    closing.join();
    EXPECT_EQ(disk.syncs(), 5) << "the last one when it is closed";
    EXPECT_EQ(disk.mostAtOnce(), 1);
    EXPECT_EQ(health_, std::vector{fileWritten});
}

TEST_F(WaveFileTest, TellsOfADiskThatDoesNotKeepWhatItTakes) {
    testing::FakeDisk disk;
    const auto file = makeFile();
    disk.failWith(EIO);
    disk.hold(); // it answers when the write has ended
    writeSeconds(*file, 1);
    disk.letGo();
    drainPool();
    try {
        writeSeconds(*file, 1);
        ADD_FAILURE();
    } catch (const AudioFileError& error) {
        EXPECT_STREQ(error.what(), "\"mic.wav\" could not be written: Input/output error");
    }
    disk.failWith(0);
    while (health_.back() == writeFailed) {
        try {
            writeSeconds(*file, 1);
        } catch (const AudioFileError&) { // until a sync succeeds
            drainPool();
        }
    }
    EXPECT_EQ(health_, (std::vector{fileWritten, writeFailed, fileWritten}));
}

TEST_F(WaveFileTest, IsPrivateAndCompleteAfterEveryWrite) {
    const auto file = makeFile();
    EXPECT_EQ(readWave(path_, 0, 1).first, 0);
    for (std::size_t place = 0; place < 40960; place += 4096) {
        file->write(makeBuffer(ramp(place, 4096), 1));
        const auto [frames, samples] = readWave(path_, 0, place + 4096);
        EXPECT_EQ(frames, static_cast<std::int64_t>(place + 4096));
        EXPECT_EQ(samples, ramp(0, place + 4096));
    }

    struct stat status {};

    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(health_, std::vector{fileWritten});
    EXPECT_THROW(file->write(makeBuffer(ramp(0, 10), 2)), AudioFileError);
}

TEST_F(WaveFileTest, ReadsBackBeyondFourGibibytes) {
    constexpr std::uint64_t kSilence = 1'200'000'000; // 4.8 GB that take no room
    {
        const auto file = makeFile();
        file->write(makeBuffer(ramp(1, 1000), 1));
        file->writeSilence(kSilence);
        file->write(makeBuffer(ramp(5, 4096), 1));
        EXPECT_EQ(readWave(path_, kSilence + 1000, 4096).second, ramp(5, 4096)) << "while it is open";
    }
    const auto [frames, samples] = readWave(path_, kSilence + 999, 5000);
    EXPECT_EQ(frames, static_cast<std::int64_t>(kSilence + 1000 + 4096));
    ASSERT_EQ(samples.size(), 4097U);
    EXPECT_EQ(samples[0], 0.0F);
    EXPECT_EQ(std::vector(samples.begin() + 1, samples.end()), ramp(5, 4096));
    std::string magic(4, ' ');
    std::ifstream(path_).read(magic.data(), 4);
    EXPECT_EQ(magic, "RF64");
}

TEST_F(WaveFileTest, FullDiskCostsSamplesButNotTheirPlace) {
    const auto file = makeFile();
    file->write(makeBuffer(ramp(1, 4096), 1));
    {
        const FileSizeLimit limit(std::filesystem::file_size(path_) + 1001); // not a whole number of frames
        EXPECT_THROW(file->write(makeBuffer(ramp(4097, 4096), 1)), AudioFileError);
        EXPECT_THROW(file->write(makeBuffer(ramp(8193, 4096), 1)), AudioFileError);
        EXPECT_EQ(readWave(path_, 0, 10000).second, ramp(1, 4096 + 250)) << "readable while the disk is full";
    }
    file->write(makeBuffer(ramp(12289, 4096), 1));
    auto expected = ramp(1, 16384);
    std::fill(expected.begin() + 4096 + 250, expected.begin() + 12288, 0.0F);
    EXPECT_EQ(readWave(path_, 0, 20000).second, expected);
    EXPECT_EQ(health_, (std::vector{fileWritten, writeFailed, fileWritten}));
}

TEST_F(WaveFileTest, TellsOfAFileThatIsRemovedAndOfOneThatCannotBe) {
    const auto file = makeFile();
    std::filesystem::remove_all(folder_.path());
    EXPECT_THROW(file->write(makeBuffer(ramp(0, 10), 1)), AudioFileError);
    EXPECT_EQ(health_, std::vector{writeFailed});
    EXPECT_THROW(makeFile(), AudioFileError);
}

} // namespace
} // namespace talkledger
