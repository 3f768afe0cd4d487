#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <thread>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

class RecordingTimelineTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    boost::asio::io_context context;
    std::shared_ptr<RecordingTimelineRecorder> recorder =
        std::make_shared<RecordingTimelineRecorder>(fileSystem, context.get_executor());
    const MonotonicTime origin = MonotonicTime::clock::now();

    RecordingTimeline load() const { return RecordingTimeline::load(fileSystem, folder.path()); }

    void writeFile(const std::string& content) {
        fileSystem.writeFileAtomically(folder.path() / "timeline.json", content);
    }
};

TEST_F(RecordingTimelineTest, KeepsEachTracksStartFromTheMomentTheMicrophoneWasAsked) {
    recorder->trackBegan(AudioChannel::speaker, origin);
    recorder->beginTimeline(folder.path(), origin);
    recorder->trackBegan(AudioChannel::mic, origin + 125ms);
    EXPECT_FALSE(fileSystem.fileExists(folder.path() / "timeline.json")) << "written by the capture thread";
    testing::poll(context);
    EXPECT_EQ(load(), (RecordingTimeline{0.125, 0}));
    recorder->trackBegan(AudioChannel::speaker, origin + 3250ms);
    testing::runTask(context, recorder->flush());
    EXPECT_EQ(load(), (RecordingTimeline{0.125, 3.25}));
    EXPECT_EQ(load().start(AudioChannel::speaker), 3.25);
}

TEST_F(RecordingTimelineTest, StartsANewLineForEachRecording) {
    EXPECT_EQ(recorder->origin(), std::nullopt);
    recorder->beginTimeline(folder.path() / "earlier", origin);
    recorder->trackBegan(AudioChannel::mic, origin + 10s);
    // Captured a moment before the device was asked for.
    recorder->beginTimeline(folder.path(), origin + 60s);
    EXPECT_EQ(recorder->origin(), origin + 60s);
    recorder->trackBegan(AudioChannel::mic, origin + 60s - 20ms);
    recorder->trackBegan(AudioChannel::speaker, origin + 61s);
    testing::runTask(context, recorder->flush());
    EXPECT_EQ(load(), (RecordingTimeline{0, 1}));
    EXPECT_FALSE(fileSystem.fileExists(folder.path() / "earlier" / "timeline.json"));
}

TEST_F(RecordingTimelineTest, CarriesAFailedWriteToTheNextOneOrTheFlush) {
    const std::filesystem::path missing = folder.path() / "missing";
    recorder->beginTimeline(missing, origin);
    recorder->trackBegan(AudioChannel::mic, origin + 1s);
    testing::runTask(context, recorder->flush());
    fileSystem.createDirectory(missing);
    testing::runTask(context, recorder->flush());
    EXPECT_EQ(RecordingTimeline::load(fileSystem, missing), (RecordingTimeline{1, 0}));
    fileSystem.removeFile(missing / "timeline.json");
    std::filesystem::remove(missing);
    recorder->trackBegan(AudioChannel::mic, origin + 3s);
    testing::poll(context);
    fileSystem.createDirectory(missing);
    recorder->trackBegan(AudioChannel::speaker, origin + 2s);
    testing::poll(context);
    EXPECT_EQ(RecordingTimeline::load(fileSystem, missing), (RecordingTimeline{3, 2}));
}

TEST_F(RecordingTimelineTest, TakesTracksFromTwoThreadsAtOnce) {
    boost::asio::thread_pool pool(2);
    for (int round = 0; round < 20; ++round) {
        const auto pooled = std::make_shared<RecordingTimelineRecorder>(fileSystem, pool.get_executor());
        pooled->beginTimeline(folder.path(), origin);
        std::thread mic([&] { pooled->trackBegan(AudioChannel::mic, origin + 1s); });
        std::thread speaker([&] { pooled->trackBegan(AudioChannel::speaker, origin + 2s); });
        mic.join();
        speaker.join();
        testing::runTask(context, pooled->flush());
        EXPECT_EQ(load(), (RecordingTimeline{1, 2}));
        fileSystem.removeFile(folder.path() / "timeline.json");
    }
    pool.join();
}

TEST_F(RecordingTimelineTest, MeansZerosWhereNothingUsableIsKept) {
    EXPECT_EQ(load(), RecordingTimeline());
    for (const char* hostile :
         {"", "[]", "{", R"({"mic": "1"})", R"({"mic": -1, "speaker": 2})", R"({"mic": 1, "speaker": 1e300})",
          R"({"mic": 1e999})", R"({"mic": NaN})", R"({"mic": 1, "speaker": 86401})"}) {
        writeFile(hostile);
        EXPECT_EQ(load(), RecordingTimeline()) << hostile;
    }
    writeFile(std::string(1 << 20, ' ') + R"({"mic": 1})");
    EXPECT_EQ(load(), RecordingTimeline());
    writeFile(R"({"speaker": 2.5, "else": true})");
    EXPECT_EQ(load(), (RecordingTimeline{0, 2.5}));
}

} // namespace
} // namespace talkledger
