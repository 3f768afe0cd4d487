#include "Fakes/FakeDisk.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/Audio/AudioFileError.h"
#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/M4AAssetWriter.h"
#include "TalkledgerPlatform/Audio/PlainM4A.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <fstream>
#include <numbers>
#include <random>
#include <sstream>
#include <thread>

namespace talkledger {
namespace {

using testing::decodeFirstChannel;
using testing::FileSizeLimit;
using testing::floatFormat;
using testing::kTestRate;
using testing::makeBuffer;
using testing::runTask;
using testing::TemporaryFolder;
using testing::timeOfFrame;
using enum TrackHealthEvent;

constexpr std::size_t kChirpFrames = kTestRate / 5;
constexpr std::size_t kMillisecond = kTestRate / 1000;

/// From 300 to 6000 Hz in 0.2 s: it correlates with itself at one place only.
std::vector<float> chirp() {
    std::vector<float> samples(kChirpFrames);
    for (std::size_t index = 0; index < kChirpFrames; ++index) {
        const double time = static_cast<double>(index) / kTestRate;
        samples[index] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * (300 + 14250 * time) * time));
    }
    return samples;
}

/// Where around `expected` (20 ms each way) the chirp fits best.
std::size_t findChirp(const std::vector<float>& samples, std::size_t expected) {
    const auto wanted = chirp();
    std::size_t best = 0;
    double bestProduct = 0;
    for (std::size_t place = expected < 960 ? 0 : expected - 960;
         place < expected + 960 && place + wanted.size() <= samples.size(); ++place) {
        double product = 0;
        for (std::size_t index = 0; index < wanted.size(); ++index) {
            product += static_cast<double>(samples[place + index]) * static_cast<double>(wanted[index]);
        }
        if (product > bestProduct) {
            bestProduct = product;
            best = place;
        }
    }
    return best;
}

std::vector<float> stereo(const std::vector<float>& mono) {
    std::vector<float> samples;
    for (const float sample : mono) {
        samples.insert(samples.end(), {sample, sample});
    }
    return samples;
}

bool contains(const std::filesystem::path& path, const std::string& text) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str().find(text) != std::string::npos;
}

/// One M4A file that is written, with chirps at the start of each second.
class M4AAssetWriterTest : public ::testing::Test {
protected:
    std::unique_ptr<AssetWriter> makeWriter() {
        auto writer = files_.makeAssetWriter(path_, AssetFileType::m4a, AudioChannel::speaker);
        writer->addInput({});
        writer->startWriting();
        writer->startSession(timeOfFrame(0));
        return writer;
    }

    static void appendSeconds(AssetWriter& writer, std::uint64_t first, std::uint64_t end) {
        for (std::uint64_t second = first; second < end; ++second) {
            appendSecond(writer, second);
        }
    }

    static void appendSecond(AssetWriter& writer, std::uint64_t second) {
        auto mono = chirp();
        mono.resize(kTestRate);
        const std::uint64_t first = second * kTestRate;
        for (std::uint64_t frame = 0; frame < kTestRate; frame += 4096) {
            const auto end = std::min<std::uint64_t>(frame + 4096, kTestRate);
            const std::vector<float> part(mono.begin() + static_cast<std::ptrdiff_t>(frame),
                                          mono.begin() + static_cast<std::ptrdiff_t>(end));
            writer.append(makeBuffer(stereo(part), 2, first + frame));
        }
    }

    void finish(AssetWriter& writer) {
        writer.markAsFinished();
        runTask(context_, writer.finishWriting());
        EXPECT_EQ(writer.status(), AssetWriterStatus::completed) << writer.error().value_or("");
    }

    void expectChirps(const std::vector<float>& samples, const std::vector<std::size_t>& seconds) {
        for (const std::size_t second : seconds) {
            EXPECT_NEAR(static_cast<double>(findChirp(samples, second * kTestRate)),
                        static_cast<double>(second * kTestRate), static_cast<double>(kMillisecond));
        }
    }

    TemporaryFolder folder_;
    std::filesystem::path path_{folder_ / "speaker.m4a"};
    std::vector<TrackHealthEvent> health_;
    boost::asio::io_context context_;
    boost::asio::thread_pool pool_{1};
    PlatformAudioFiles files_{pool_.get_executor(),
                              [this](AudioChannel, TrackHealthEvent event) { health_.push_back(event); }};
};

TEST_F(M4AAssetWriterTest, PlainFileKeepsPlacesAndLengthAndFillsGaps) {
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 3);
    appendSeconds(*writer, 7, 9); // four seconds are missing
    writer->append(makeBuffer(stereo(std::vector<float>(777)), 2, 9 * kTestRate));
    finish(*writer);
    const auto samples = decodeFirstChannel(path_);
    expectChirps(samples, {0, 1, 2, 7, 8});
    EXPECT_NEAR(static_cast<double>(samples.size()), 9 * kTestRate + 777, kMillisecond);
    const float loudestInGap =
        *std::max_element(samples.begin() + 4 * kTestRate, samples.begin() + 6 * kTestRate); // away from the chirps
    EXPECT_LT(loudestInGap, 1e-4F);
    const std::optional<double> duration = runTask(context_, files_.duration(path_));
    EXPECT_NEAR(duration.value_or(0), 9 + 777.0 / kTestRate, 0.001);

    EXPECT_FALSE(contains(path_, "moof")) << "a plain file";

    struct stat status {};

    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1) << "nothing left beside it";
    EXPECT_EQ(health_, std::vector{fileWritten});
}

TEST_F(M4AAssetWriterTest, CancelledFileKeepsWhatIsOnDiskAndCanBeMended) {
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 5);
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), AssetWriterStatus::cancelled);
    const auto samples = decodeFirstChannel(path_);
    EXPECT_GE(samples.size(), 3 * kTestRate);
    expectChirps(samples, {0, 1, 2});
    const std::optional<double> duration = runTask(context_, files_.duration(path_));
    EXPECT_NEAR(duration.value_or(0), static_cast<double>(samples.size()) / kTestRate, 0.05);

    ASSERT_TRUE(contains(path_, "moof"));
    runTask(context_, files_.mend(path_));
    EXPECT_FALSE(contains(path_, "moof")) << "still in fragments";
    const auto mended = decodeFirstChannel(path_);
    expectChirps(mended, {0, 1, 2});
    EXPECT_NEAR(static_cast<double>(mended.size()), static_cast<double>(samples.size()),
                static_cast<double>(kMillisecond));
    EXPECT_NEAR(runTask(context_, files_.duration(path_)).value_or(0), static_cast<double>(mended.size()) / kTestRate,
                0.001);
}

TEST_F(M4AAssetWriterTest, AKillDuringTheRewritingLeavesNothingBesideTheFile) {
    const FileDescriptor nameless(open(folder_.path().c_str(), O_TMPFILE | O_RDWR, 0600));
    if (nameless.number() < 0) {
        GTEST_SKIP() << "The file system here gives every file a name.";
    }
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 3);
    writer->cancelWriting();
    writer.reset();
    pool_.join();
    const auto entries = [this] { return std::distance(std::filesystem::directory_iterator(folder_.path()), {}); };
    testing::FakeDisk disk;
    disk.hold();
    std::thread rewriting([this] { EXPECT_TRUE(rewriteAsPlainM4A(path_)); });
    disk.waitForSyncs(1); // the new file is written whole
    EXPECT_EQ(entries(), 1);
    EXPECT_TRUE(contains(path_, "moof"));
    std::ofstream(folder_ / ".speaker.m4a.new") << "of a kill at the very end, some time ago";
    disk.letGo();
    rewriting.join();
    EXPECT_EQ(entries(), 1);
    EXPECT_FALSE(contains(path_, "moof"));
    expectChirps(decodeFirstChannel(path_), {0, 1});
}

TEST_F(M4AAssetWriterTest, FullDiskLosesNothingOnceItTakesBytesAgain) {
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 2);
    {
        const FileSizeLimit limit(std::filesystem::file_size(path_) + 1000);
        appendSeconds(*writer, 2, 5);
        EXPECT_EQ(health_.back(), writeFailed);
        EXPECT_GE(decodeFirstChannel(path_).size(), kTestRate / 2) << "readable while the disk is full";
    }
    appendSeconds(*writer, 5, 7);
    EXPECT_EQ(health_, (std::vector{fileWritten, writeFailed, fileWritten}));
    finish(*writer);
    expectChirps(decodeFirstChannel(path_), {0, 1, 2, 3, 4, 5, 6});
}

TEST_F(M4AAssetWriterTest, EveryFragmentReachesTheDiskAndASlowOneHoldsUpNone) {
    testing::FakeDisk disk;
    auto writer = makeWriter();
    disk.hold();
    appendSeconds(*writer, 0, 4);
    disk.waitForSyncs(1);
    EXPECT_GE(decodeFirstChannel(path_).size(), 2 * kTestRate);
    disk.letGo();
    for (std::uint64_t second = 4; second < 8; ++second) {
        boost::asio::post(pool_, boost::asio::use_future).get(); // the sync under way has ended
        appendSecond(*writer, second);
    }
    disk.waitForSyncs(4);
    EXPECT_EQ(health_, std::vector{fileWritten});
    const int syncs = disk.syncs();
    finish(*writer);
    EXPECT_EQ(disk.syncs(), syncs + 2) << "the last fragment and the plain file";
    EXPECT_EQ(disk.mostAtOnce(), 1);
}

TEST_F(M4AAssetWriterTest, ADiskThatDoesNotKeepWhatItTakesIsTold) {
    testing::FakeDisk disk;
    disk.failWith(EIO);
    auto writer = makeWriter();
    for (std::uint64_t second = 0; second < 3; ++second) {
        appendSecond(*writer, second);
        boost::asio::post(pool_, boost::asio::use_future).get();
    }
    EXPECT_EQ(health_, (std::vector{fileWritten, writeFailed}));
    writer->markAsFinished();
    runTask(context_, writer->finishWriting());
    EXPECT_EQ(writer->error(), "\"speaker.m4a\" could not be written: Input/output error");
}

TEST_F(M4AAssetWriterTest, WhatCannotBeFinishedIsToldAndStays) {
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 3);
    {
        const FileSizeLimit limit(std::filesystem::file_size(path_));
        writer->markAsFinished();
        runTask(context_, writer->finishWriting());
    }
    EXPECT_EQ(writer->status(), AssetWriterStatus::failed);
    EXPECT_EQ(writer->error(), "\"speaker.m4a\" could not be written: File too large");
    expectChirps(decodeFirstChannel(path_), {0, 1});

    writer = makeWriter();
    std::filesystem::remove_all(folder_.path());
    appendSecond(*writer, 0);
    EXPECT_EQ(writer->status(), AssetWriterStatus::failed);
    EXPECT_EQ(writer->error(), "\"speaker.m4a\" was removed while it was recorded.");
    EXPECT_EQ(health_, (std::vector{fileWritten, writeFailed, writeFailed})) << "one of each writer";
    EXPECT_THROW(makeWriter(), AudioFileError);
}

TEST_F(M4AAssetWriterTest, HostileFilesHaveNoDuration) {
    const auto durationOf = [this](const std::string& content) {
        std::ofstream(folder_ / "hostile") << content;
        return runTask(context_, files_.duration(folder_ / "hostile"));
    };
    EXPECT_EQ(durationOf(""), std::nullopt);
    EXPECT_EQ(durationOf(std::string(100'000, 'x')), std::nullopt);
    EXPECT_EQ(runTask(context_, files_.duration(folder_.path())), std::nullopt);
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(runTask(context_, files_.duration(folder_ / "pipe")), std::nullopt);
    EXPECT_EQ(durationOf("#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\nspeaker.m4a\n#EXT-X-ENDLIST\n"), std::nullopt);

    const auto wave = folder_ / "mic.wav";
    const auto file = files_.createFile(wave, floatFormat(1), AudioChannel::mic);
    file->write(makeBuffer(std::vector<float>(kTestRate), 1));
    std::filesystem::resize_file(wave, 24000 * sizeof(float)); // its header promises twice as much
    EXPECT_NEAR(runTask(context_, files_.duration(wave)).value_or(0), 0.5, 0.01);
}

TEST_F(M4AAssetWriterTest, RandomDamageIsAnAnswerAndNotACrash) {
    auto writer = makeWriter();
    appendSeconds(*writer, 0, 2);
    finish(*writer);
    std::ostringstream content;
    content << std::ifstream(path_).rdbuf();
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::string damaged = content.str();
        for (int hit = 0; hit < 8; ++hit) {
            damaged[random() % std::min<std::size_t>(damaged.size(), round % 2 == 0 ? 1000 : damaged.size())] =
                static_cast<char>(random());
        }
        damaged.resize(random() % (damaged.size() + 1));
        std::ofstream(folder_ / "damaged.m4a") << damaged;
        const auto duration = runTask(context_, files_.duration(folder_ / "damaged.m4a"));
        EXPECT_TRUE(!duration || *duration >= 0);
    }
}

} // namespace
} // namespace talkledger
