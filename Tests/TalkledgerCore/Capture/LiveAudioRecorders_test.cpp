#include "Fakes/FakeAudioFiles.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeAuthorization.h"
#include "Fakes/FakeSystemAudio.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/LiveAudioRecorders.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

class LiveAudioRecordersTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    boost::asio::io_context context;
    boost::asio::thread_pool background{1};
    testing::CallLog log;
    testing::FakeAudioFiles files{log};
    std::shared_ptr<RecordingTimelineRecorder> timeline =
        std::make_shared<RecordingTimelineRecorder>(fileSystem, background.get_executor());
    std::vector<SharedAudioBuffer> liveBuffers;

    const MonotonicTime later = MonotonicTime::clock::now() + 90s;

    RecordingTimeline keptTimeline() const { return RecordingTimeline::load(fileSystem, folder.path()); }

    static AudioBuffer bufferAt(MonotonicTime time, float sample = 0.5F) {
        const std::vector<float> samples(8, sample);
        return testing::makeFloatBuffer(samples, 1, time);
    }

    std::string failureOf(Task<void> task) {
        return testing::failureText([&] { testing::runTask(context, std::move(task)); });
    }

    /// A capture thread that goes on delivering, whatever the device was told.
    template <typename Deliver, typename Act>
    static void whileDelivering(const Deliver& deliver, const Act& act) {
        std::atomic<bool> isOver{false};
        std::thread capture([&] {
            while (!isOver) {
                deliver();
            }
        });
        act();
        isOver = true;
        capture.join();
    }
};

class MicrophoneWAVRecorderTest : public LiveAudioRecordersTest {
protected:
    testing::FakeAudioInput input{log};
    testing::FakeAuthorization authorization;
    std::vector<double> levels;
    const std::filesystem::path file = folder.path() / "mic.wav";

    std::shared_ptr<MicrophoneWAVRecorder> recorder = std::make_shared<MicrophoneWAVRecorder>(
        input, files, authorization, fileSystem, background.get_executor(), timeline,
        [this](double level) { levels.push_back(level); },
        [this](SharedAudioBuffer buffer) { liveBuffers.push_back(std::move(buffer)); }, 1ms);
};

TEST_F(MicrophoneWAVRecorderTest, WritesMeasuresAndHandsOnEveryBuffer) {
    fileSystem.writeFileAtomically(file, "an earlier recording");
    input.format = {AudioSampleFormat::float32, 44100, 3, true};
    testing::runTask(context, recorder->startRecording(file));
    EXPECT_FALSE(fileSystem.fileExists(file));
    EXPECT_EQ(files.fileFormat, input.format);
    EXPECT_EQ(input.tapBufferSize, 4096U);

    const AudioBuffer first = bufferAt(later);
    input.deliver(first);
    files.writingFails = true; // that buffer is lost, and no other
    input.deliver(bufferAt(later + 1s, 0.25F));
    files.writingFails = false;
    input.deliver(bufferAt(later + 2s, 0.75F));
    EXPECT_EQ(files.writtenBuffers, 2);
    EXPECT_THAT(levels, ElementsAre(0.5, 0.25, 0.75));
    ASSERT_EQ(liveBuffers.size(), 3U);
    EXPECT_EQ(liveBuffers.front()->samples, first.samples);
    EXPECT_NE(liveBuffers.front()->samples.data(), first.samples.data());

    testing::runTask(context, recorder->stopRecording());
    EXPECT_EQ(files.openFiles, 0);
    EXPECT_EQ(levels.back(), 0);
    EXPECT_THAT(log.calls(), ElementsAre("createFile", "installTap", "startEngine", "removeTap", "stopEngine"));
    EXPECT_NEAR(keptTimeline().micStart, 90, 5);
}

TEST_F(MicrophoneWAVRecorderTest, FailsWithoutPermissionOrFormatBeforeItRecords) {
    fileSystem.writeFileAtomically(file, "an earlier recording");
    authorization.status = AuthorizationStatus::denied;
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "Microphone permission was denied.");
    authorization.status = AuthorizationStatus::notDetermined;
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "Microphone permission was not answered.");
    EXPECT_TRUE(fileSystem.fileExists(file));
    authorization.status = AuthorizationStatus::authorized;
    for (const auto& [rate, channels] : {std::pair(48000.0, 0U), std::pair(0.0, 1U), std::pair(std::nan(""), 1U)}) {
        input.format = {AudioSampleFormat::float32, rate, channels, true};
        EXPECT_EQ(failureOf(recorder->startRecording(file)), "The default microphone audio format is unavailable.");
    }
    EXPECT_THAT(log.calls(), ElementsAre());
    testing::runTask(context, recorder->stopRecording());
    EXPECT_THAT(levels, ElementsAre(0));
}

TEST_F(MicrophoneWAVRecorderTest, PassesOnWhatTheFileAndTheEngineSay) {
    files.createFailure = "No space left.";
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "No space left.");
    files.createFailure.reset();
    input.startFailure = "The device is busy.";
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "The device is busy.");
    // What was set up stays until the next start or stop.
    EXPECT_EQ(files.openFiles, 1);
    input.startFailure.reset();
    testing::runTask(context, recorder->startRecording(file));
    EXPECT_EQ(files.openFiles, 1);
    testing::runTask(context, recorder->stopRecording());
    EXPECT_EQ(files.openFiles, 0);
}

TEST_F(MicrophoneWAVRecorderTest, WritesNothingThatArrivesAfterTheStop) {
    testing::runTask(context, recorder->startRecording(file));
    testing::runTask(context, recorder->stopRecording());
    input.lastTap(bufferAt(later));
    testing::runTask(context, timeline->flush());
    EXPECT_EQ(files.writtenBuffers, 0);
    EXPECT_EQ(keptTimeline(), RecordingTimeline());
    recorder.reset();
    input.lastTap(bufferAt(later));
}

TEST_F(MicrophoneWAVRecorderTest, LeavesTheMainThreadToOthersWhileASlowDiskHoldsUpTheStop) {
    testing::runTask(context, recorder->startRecording(file));
    std::promise<void> mainThreadRan;
    input.duringRemoval = [&] {
        boost::asio::post(context, [&] { mainThreadRan.set_value(); });
        EXPECT_EQ(mainThreadRan.get_future().wait_for(30s), std::future_status::ready);
    };
    testing::runTask(context, recorder->stopRecording());
    EXPECT_THAT(levels, ElementsAre(0));
}

TEST_F(MicrophoneWAVRecorderTest, ClosesTheFileBetweenWritesWhileBuffersKeepComing) {
    liveBuffers.reserve(1);
    const auto counting = std::make_shared<std::atomic<int>>(0);
    const auto shared = std::make_shared<MicrophoneWAVRecorder>(
        input, files, authorization, fileSystem, background.get_executor(), timeline,
        [counting](double) { ++*counting; }, LiveTranscriptBufferHandler());
    for (int round = 0; round < 50; ++round) {
        testing::runTask(context, shared->startRecording(file));
        *counting = 0;
        whileDelivering([&, buffer = bufferAt(later)] { input.deliver(buffer); },
                        [&] {
                            while (*counting < 3) {
                                std::this_thread::yield();
                            }
                            testing::runTask(context, shared->stopRecording());
                            EXPECT_EQ(files.openFiles, 0);
                        });
    }
}

class SystemAudioM4ARecorderTest : public LiveAudioRecordersTest {
protected:
    testing::FakeSystemAudio systemAudio{log};
    const std::filesystem::path file = folder.path() / "speaker.m4a";

    std::shared_ptr<SystemAudioM4ARecorder> recorder = std::make_shared<SystemAudioM4ARecorder>(
        systemAudio, files, fileSystem, timeline,
        [this](SharedAudioBuffer buffer) { liveBuffers.push_back(std::move(buffer)); });

    static CaptureSampleBuffer sampleAt(MonotonicTime time) {
        return {.type = CaptureOutputType::audio, .isDataReady = true, .audio = bufferAt(time)};
    }
};

TEST_F(SystemAudioM4ARecorderTest, BeginsTheFileAtTheFirstSample) {
    timeline->beginTimeline(folder.path(), later);
    testing::runTask(context, recorder->startRecording(file));
    EXPECT_EQ(systemAudio.filter.display.name, "first output");
    EXPECT_EQ(systemAudio.queueLabel, "talkledger.system-audio-samples");
    EXPECT_TRUE(systemAudio.configuration.excludesCurrentProcessAudio);
    EXPECT_EQ(files.inputSettings.encoderBitRate, 128000U);
    EXPECT_THAT(log.calls(), ElementsAre("shareableContent", "makeAssetWriter", "startCapture"));

    systemAudio.deliver(sampleAt(later + 2500ms));
    systemAudio.deliver(sampleAt(later + 3s));
    EXPECT_EQ(files.sessionStart, later + 2500ms);
    EXPECT_EQ(files.appendedBuffers, 2);
    EXPECT_EQ(liveBuffers.size(), 2U);

    testing::runTask(context, recorder->stopRecording());
    EXPECT_THAT(log.calls(), ElementsAre("shareableContent", "makeAssetWriter", "startCapture", "startWriting",
                                         "stopCapture", "markAsFinished", "finishWriting"));
    EXPECT_EQ(files.openWriters, 0);
    EXPECT_EQ(keptTimeline(), (RecordingTimeline{0, 2.5}));
    EXPECT_FALSE(fileSystem.fileExists(file));
}

TEST_F(SystemAudioM4ARecorderTest, DropsWhatIsNoUsableSample) {
    testing::runTask(context, recorder->startRecording(file));
    CaptureSampleBuffer picture = sampleAt(later);
    picture.type = CaptureOutputType::screen;
    CaptureSampleBuffer unready = sampleAt(later);
    unready.isDataReady = false;
    systemAudio.deliver(picture);
    systemAudio.deliver(unready);
    EXPECT_TRUE(liveBuffers.empty());

    // A writer that is not ready loses the sample; the live transcript does not.
    files.isReady = false;
    systemAudio.deliver(sampleAt(later));
    EXPECT_EQ(files.appendedBuffers, 0);
    EXPECT_EQ(liveBuffers.size(), 1U);
    files.isReady = true;
    CaptureSampleBuffer empty = sampleAt(later);
    empty.audio.frameLength = 0;
    systemAudio.deliver(empty);
    EXPECT_EQ(files.appendedBuffers, 1);
    EXPECT_EQ(liveBuffers.size(), 1U);
    testing::runTask(context, recorder->stopRecording());
    systemAudio.deliver(sampleAt(later));
    EXPECT_EQ(liveBuffers.size(), 1U);
}

TEST_F(SystemAudioM4ARecorderTest, CancelsTheWriterOfAStreamThatBreaks) {
    for (const bool hasSamples : {false, true}) {
        testing::runTask(context, recorder->startRecording(file));
        if (hasSamples) {
            systemAudio.deliver(sampleAt(later));
        }
        systemAudio.breakStream();
        EXPECT_EQ(log.calls().back(), "cancelWriting");
        EXPECT_EQ(files.openWriters, 0);
        systemAudio.deliver(sampleAt(later));
        testing::runTask(context, recorder->stopRecording());
        EXPECT_EQ(log.calls().back(), "stopCapture");
        EXPECT_FALSE(fileSystem.fileExists(file));
    }
    EXPECT_EQ(files.appendsAfterEnd, 0);
}

TEST_F(SystemAudioM4ARecorderTest, SaysWhyItCannotStart) {
    fileSystem.writeFileAtomically(file, "an earlier recording");
    systemAudio.contentFailure = "The sound server does not answer.";
    EXPECT_EQ(failureOf(recorder->startRecording(file)),
              "System audio capture is unavailable: The sound server does not answer.");
    systemAudio.contentFailure.reset();
    const ShareableContent content = std::exchange(systemAudio.content, {});
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "No display is available for system audio capture.");
    systemAudio.content = content;
    files.createFailure = "No space left.";
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "No space left.");
    files.createFailure.reset();
    files.acceptsInput = false;
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "The audio writer rejected the configured input.");
    files.acceptsInput = true;
    systemAudio.startFailure = "The stream did not start.";
    EXPECT_EQ(failureOf(recorder->startRecording(file)), "The stream did not start.");
    EXPECT_EQ(files.openWriters, 1) << "armed until the next start or stop";
    EXPECT_FALSE(fileSystem.fileExists(file)) << "that of an earlier recording is gone";
    testing::runTask(context, recorder->stopRecording());
    EXPECT_EQ(fileSystem.fileSize(file), std::int64_t{0}) << "an empty file where nothing was played";
    EXPECT_EQ(log.calls().back(), "cancelWriting");
    testing::runTask(context, recorder->stopRecording());
}

TEST_F(SystemAudioM4ARecorderTest, KeepsEverythingWhenTheStreamDoesNotStop) {
    testing::runTask(context, recorder->startRecording(file));
    systemAudio.deliver(sampleAt(later));
    systemAudio.stopFailure = "The stream did not stop.";
    EXPECT_EQ(failureOf(recorder->stopRecording()), "The stream did not stop.");
    systemAudio.deliver(sampleAt(later));
    EXPECT_EQ(files.appendedBuffers, 2);
    systemAudio.stopFailure.reset();
    testing::runTask(context, recorder->stopRecording());
    EXPECT_EQ(log.calls().back(), "finishWriting");
}

TEST_F(SystemAudioM4ARecorderTest, SaysWhyTheFileWasNotFinished) {
    for (const auto& [error, text] : {std::pair(std::optional<std::string>("No space left."), "No space left."),
                                      std::pair(std::optional<std::string>(), "Unknown writer error.")}) {
        testing::runTask(context, recorder->startRecording(file));
        systemAudio.deliver(sampleAt(later));
        files.finalStatus = AssetWriterStatus::failed;
        files.writerError = error;
        EXPECT_EQ(failureOf(recorder->stopRecording()), std::string("The audio writer failed: ") + text);
        testing::runTask(context, recorder->stopRecording());
    }
}

TEST_F(SystemAudioM4ARecorderTest, NeverAppendsToAWriterThatIsBeingFinished) {
    std::atomic<int> heard{0};
    const auto shared = std::make_shared<SystemAudioM4ARecorder>(systemAudio, files, fileSystem, timeline,
                                                                 [&](const SharedAudioBuffer&) { ++heard; });
    for (int round = 0; round < 50; ++round) {
        testing::runTask(context, shared->startRecording(file));
        heard = 0;
        whileDelivering([&, sample = sampleAt(later)] { systemAudio.deliver(sample); },
                        [&] {
                            while (heard < 3) {
                                std::this_thread::yield();
                            }
                            if (round % 3 == 0) {
                                systemAudio.breakStream();
                            }
                            testing::runTask(context, shared->stopRecording());
                        });
    }
    EXPECT_EQ(files.appendsAfterEnd, 0);
}

} // namespace
} // namespace talkledger
