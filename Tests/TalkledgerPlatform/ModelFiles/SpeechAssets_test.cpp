#include "Fakes/FakeModelCheck.h"
#include "Support/LoopbackHost.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"
#include "TalkledgerPlatform/ModelFiles/Checksum.h"
#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"
#include "TalkledgerWorkers/SpokenAudio.h"

#include <gmock/gmock.h>

#include <fstream>
#include <future>
#include <memory>
#include <optional>

namespace talkledger {
namespace {

using ::testing::IsEmpty;
using testing::LoopbackHost;
using testing::RunningTask;

/// A model whose download stands still until the test says how much of it comes.
class SpeechAssetsTest : public ::testing::Test {
protected:
    SpeechAssetsTest() {
        std::ofstream(home_ / "content", std::ios::binary) << content_;
        folder_.emplace(home_ / "Models", check_, DownloadHosts::loopback);
        host_.emplace([this](const std::string& /*request*/) {
            return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(content_.size()) + "\r\n\r\n" +
                   content_.substr(0, arriving_.get_future().get());
        });
    }

    KnownModelFile file(const std::string& name) {
        KnownModelFile file;
        file.name = name;
        file.address = host_->address("/" + name);
        file.bytes = static_cast<std::int64_t>(content_.size());
        file.sha1 = checksum(home_ / "content", ChecksumKind::sha1, [] { return true; });
        return file;
    }

    std::unique_ptr<RunningTask<void>> download(const std::string& name) {
        return std::make_unique<RunningTask<void>>(
            context_, folder_->download(file(name), std::make_shared<ModelFileProgress>()));
    }

    void finish(const RunningTask<void>& task) {
        context_.restart();
        while (!task.hasEnded() && context_.run_one() > 0) {
        }
    }

    /// On a Japanese desktop unless told.
    WorkerSpeechRecognition recognition(const std::string& desktopLocale = "ja_JP") {
        WorkerSpeechRecognition::Settings settings;
        settings.worker.program = workerProgram("talkledger-transcriber");
        settings.desktopLocale = desktopLocale;
        settings.installedModels = home_ / "Models";
        settings.awaitedModels = &*folder_;
        return WorkerSpeechRecognition(std::move(settings));
    }

    SpeechAssetStatus status(WorkerSpeechRecognition& recognition, const std::string& locale) {
        return testing::runTask(context_, recognition.assetInventory().status({.locale = locale}));
    }

    std::unique_ptr<SpeechAssetInstallationRequest> request(WorkerSpeechRecognition& recognition) {
        return testing::runTask(context_, recognition.assetInventory().assetInstallationRequest({.locale = "ja_JP"}));
    }

    /// Of an English sentence.
    std::vector<TranscriptSegment> transcript(WorkerSpeechRecognition& recognition) {
        testing::writeWav(home_ / "mic.wav", testing::speak("rms", "We have a budget of twenty thousand dollars."));
        const PosixFileSystem fileSystem;
        SpeechRecordingTrackTranscriptProvider provider(
            {"ja_JP", "en_GB", RecordedArtifactTranscriptMode::finalAccuracy}, recognition, fileSystem);
        return testing::runTask(context_, provider.transcribe(home_ / "mic.wav", AudioChannel::mic, SpeakerRole::me));
    }

    const std::string content_ = std::string("lmgg\x99\xCA\0\0", 8) + std::string(200'000, 'w'); ///< 51865 words
    boost::asio::io_context context_; ///< outlives what waits on it
    testing::TemporaryFolder home_;
    testing::FakeModelCheck check_;
    std::promise<std::size_t> arriving_;
    std::optional<LoopbackHost> host_;
    std::optional<ModelFolder> folder_;
};

TEST_F(SpeechAssetsTest, AModelCountsFromWhenItIsAskedForAndIsWaitedForUntilItIsThere) {
    WorkerSpeechRecognition recognition = this->recognition();
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::unsupported);
    EXPECT_EQ(request(recognition), nullptr);
    const auto downloading = download("ggml-base.bin");
    EXPECT_EQ(testing::runTask(context_, recognition.supportedLocale("ja_JP")), "ja_JP");
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::downloading);
    EXPECT_EQ(status(recognition, "xx_XX"), SpeechAssetStatus::unsupported);
    const auto installation = request(recognition);
    const RunningTask<void> oneTrack(context_, installation->downloadAndInstall());
    const RunningTask<void> otherTrack(context_, installation->downloadAndInstall());
    RunningTask<void> impatient(context_, installation->downloadAndInstall());
    impatient.cancel();
    EXPECT_TRUE(impatient.hasEnded());
    EXPECT_FALSE(oneTrack.hasEnded());
    arriving_.set_value(content_.size());
    finish(oneTrack);
    finish(otherTrack);
    EXPECT_NO_THROW(oneTrack.result());
    EXPECT_NO_THROW(otherTrack.result());
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::installed);
    finish(*downloading);
    EXPECT_EQ(host_->requests().size(), 1U);
}

TEST_F(SpeechAssetsTest, ADownloadThatBrokeOffIsRememberedAndNotWaitedFor) {
    WorkerSpeechRecognition recognition = this->recognition();
    const auto downloading = download("ggml-base.bin");
    const auto installation = request(recognition);
    const RunningTask<void> waiting(context_, installation->downloadAndInstall());
    arriving_.set_value(100'000);
    finish(*downloading);
    EXPECT_FALSE(waiting.hasEnded());
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::supported) << "before those who waited know it";
    finish(waiting);
    EXPECT_THROW(waiting.result(), ModelFileError);
    EXPECT_EQ(request(recognition), nullptr);
    EXPECT_NO_THROW(testing::runTask(context_, installation->downloadAndInstall())) << "there is nothing to wait for";
    EXPECT_EQ(host_->requests().size(), 1U) << "only the user asks again";
    EXPECT_THAT(transcript(recognition), IsEmpty()) << "nothing is taken for English meanwhile";

    std::filesystem::rename(home_ / "Models/ggml-base.bin.part", home_ / "Models/ggml-base.en.bin.part");
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::unsupported) << "it knows English only";
    EXPECT_EQ(status(recognition, "en_US"), SpeechAssetStatus::supported);
}

TEST_F(SpeechAssetsTest, EnglishIsThereAtOnceWhateverIsOnItsWay) {
    WorkerSpeechRecognition recognition = this->recognition("en_GB");
    const auto downloading = download("ggml-base.bin");
    EXPECT_EQ(status(recognition, "ja_JP"), SpeechAssetStatus::downloading);
    const auto segments = transcript(recognition);
    ASSERT_FALSE(segments.empty());
    EXPECT_THAT(segments.front().text, ::testing::HasSubstr("thousand dollars"));
    EXPECT_FALSE(downloading->hasEnded());
    arriving_.set_value(0);
    finish(*downloading);
}

} // namespace
} // namespace talkledger
