#include "Fakes/FakeSpeechRecognition.h"
#include "Fakes/FakeTranscriptProvider.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <boost/asio/error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Segments = std::vector<TranscriptSegment>;

TranscriptSegment segment(AudioChannel channel, double start, const std::string& text) {
    return {channel, structuralSpeakerRole(channel), start, 1, text, TranscriptSegmentStatus::final};
}

SpeechTranscriptionResult result(const std::string& text, double start = 0, double duration = 1) {
    return {.text = text, .audioTimeRange = {start, duration}, .isFinal = true};
}

bool isCancellation(const std::function<void()>& call) {
    try {
        call();
    } catch (const boost::system::system_error& error) {
        return error.code() == boost::asio::error::operation_aborted;
    }
    return false;
}

TEST(SpeechTranscriptionConfiguration, TriesEachLocaleOnceInOrder) {
    const auto locales = [](const std::string& locale, const std::string& currentLocale) {
        return SpeechTranscriptionConfiguration(locale, currentLocale, RecordedArtifactTranscriptMode::finalAccuracy)
            .candidateLocales;
    };
    EXPECT_THAT(locales("ja_JP", "ja_JP"), ElementsAre("ja_JP", "en_US"));
    EXPECT_THAT(locales("fr_FR", "de_DE"), ElementsAre("ja_JP", "fr_FR", "de_DE", "en_US"));
    const SpeechTranscriptionConfiguration live("fr_FR", "de_DE", RecordedArtifactTranscriptMode::lowLatencyLive);
    EXPECT_THAT(live.candidateLocales, ElementsAre("fr_FR"));
}

class SpeechRecordingTrackTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    boost::asio::io_context context;
    testing::CallLog log;
    testing::FakeSpeechRecognition recognition{log};
    SpeechTranscriptionConfiguration configuration{"ja_JP", "fr_FR", RecordedArtifactTranscriptMode::finalAccuracy};
    const std::filesystem::path file = folder.path() / "speaker.m4a";

    void SetUp() override { fileSystem.writeFileAtomically(file, "sound"); }

    Segments transcribe() {
        SpeechRecordingTrackTranscriptProvider provider(configuration, recognition, fileSystem);
        return testing::runTask(context, provider.transcribe(file, AudioChannel::speaker, SpeakerRole::customer));
    }
};

TEST_F(SpeechRecordingTrackTest, TakesTheFirstLocaleThatFindsSpeech) {
    SpeechTranscriptionResult hypothesis = result("bon");
    hypothesis.isFinal = false;
    recognition.scripts["ja_JP"].results = {hypothesis, result(" \n")};
    recognition.scripts["fr_FR"].results = {hypothesis, result(" bonjour\n", 2.5), result("oui", std::nan(""))};
    recognition.scripts["en_US"].results = {result("hello")};
    EXPECT_EQ(transcribe(),
              (Segments{segment(AudioChannel::speaker, 2.5, "bonjour"), segment(AudioChannel::speaker, 0, "oui")}));
    EXPECT_THAT(log.calls(), ElementsAre("transcribe speaker.m4a in ja_JP", "transcribe speaker.m4a in fr_FR"));
}

TEST_F(SpeechRecordingTrackTest, GoesOnAfterALocaleThatFails) {
    recognition.scripts["ja_JP"].startFailure = "no audio";
    recognition.scripts["fr_FR"].results = {result("perdu")};
    recognition.scripts["fr_FR"].resultFailure = "the engine is gone";
    recognition.scripts["en_US"].results = {result("hello")};
    EXPECT_EQ(transcribe(), (Segments{segment(AudioChannel::speaker, 0, "hello")}));
    // What a locale found before it failed is not the track's transcript.
    recognition.scripts["en_US"].resultFailure = "the engine is gone";
    EXPECT_THAT(transcribe(), IsEmpty());
}

TEST_F(SpeechRecordingTrackTest, InstallsMissingModelsOnlyWhereItMay) {
    configuration.candidateLocales = {"ja_JP", "fr_FR", "en_US"};
    recognition.scripts["ja_JP"].status = SpeechAssetStatus::unsupported;
    recognition.scripts["fr_FR"].status = SpeechAssetStatus::downloading;
    recognition.scripts["fr_FR"].installationFailure = "no connection";
    recognition.scripts["en_US"].status = SpeechAssetStatus::supported;
    recognition.scripts["en_US"].results = {result("hello")};
    EXPECT_EQ(transcribe().size(), 1U);
    EXPECT_THAT(log.calls(), ElementsAre("install fr_FR", "install en_US", "transcribe speaker.m4a in en_US"));
    configuration.assetPolicy = SpeechAssetPolicy::installedOnly;
    EXPECT_THAT(transcribe(), IsEmpty());
    EXPECT_EQ(log.calls().size(), 3U);
}

TEST_F(SpeechRecordingTrackTest, TellsWhetherThereIsAnythingToTranscribeWith) {
    const auto isOffered = [&] { return testing::runTask(context, offersTranscription(configuration, recognition)); };
    recognition.scripts["en_US"].status = SpeechAssetStatus::unsupported;
    EXPECT_FALSE(isOffered());
    recognition.scripts["fr_FR"].status = SpeechAssetStatus::supported;
    EXPECT_TRUE(isOffered()) << "it can be fetched";
    recognition.scripts["fr_FR"].offersInstallation = false;
    EXPECT_FALSE(isOffered()) << "nobody fetches it";
    recognition.scripts["fr_FR"].offersInstallation = true;
    configuration.assetPolicy = SpeechAssetPolicy::installedOnly;
    EXPECT_FALSE(isOffered());
    recognition.scripts["en_US"].status = SpeechAssetStatus::installed;
    EXPECT_TRUE(isOffered()) << "it stands for the locales that have none";
    recognition.available = false;
    EXPECT_FALSE(isOffered());
}

TEST_F(SpeechRecordingTrackTest, AsksNobodyAboutATrackThatHoldsNothing) {
    recognition.scripts["ja_JP"].results = {result("phantom")};
    fileSystem.createEmptyFile(file);
    EXPECT_THAT(transcribe(), IsEmpty());
    fileSystem.removeFile(file);
    EXPECT_THAT(transcribe(), IsEmpty());
    fileSystem.writeFileAtomically(file, "sound");
    configuration.candidateLocales.clear();
    EXPECT_THAT(transcribe(), IsEmpty());
    configuration.candidateLocales = {"ja_JP"};
    recognition.available = false;
    EXPECT_THAT(transcribe(), IsEmpty());
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST_F(SpeechRecordingTrackTest, EndsWithACancellationInsteadOfTryingTheNextLocale) {
    for (const char* locale : {"ja_JP", "fr_FR", "en_US"}) {
        recognition.scripts[locale].results = {result("words")};
    }
    recognition.results.close();
    SpeechRecordingTrackTranscriptProvider provider(configuration, recognition, fileSystem);
    testing::RunningTask<Segments> running(context,
                                           provider.transcribe(file, AudioChannel::speaker, SpeakerRole::customer));
    ASSERT_EQ(recognition.results.waitingCount(), 1U);
    running.cancel();
    EXPECT_TRUE(isCancellation([&] { running.result(); }));
    EXPECT_THAT(log.calls(), ElementsAre("transcribe speaker.m4a in ja_JP"));
}

class RecordedArtifactTranscriptTest : public SpeechRecordingTrackTest {
protected:
    RecordingSession session;
    testing::FakeTrackTranscriptProvider* tracks = nullptr;
    std::unique_ptr<RecordedArtifactTranscriptProvider> provider = makeProvider();

    std::unique_ptr<RecordedArtifactTranscriptProvider> makeProvider() {
        session.artifacts.micAudio = folder.path() / "mic.wav";
        session.artifacts.speakerAudio = file;
        auto owned = std::make_unique<testing::FakeTrackTranscriptProvider>();
        tracks = owned.get();
        return std::make_unique<RecordedArtifactTranscriptProvider>(std::move(owned),
                                                                    TranscriptSourceSeparator(1.0, 0.82));
    }
};

TEST_F(RecordedArtifactTranscriptTest, MergesTheTracksWithoutTheEchoes) {
    const TranscriptSegment echo = segment(AudioChannel::mic, 1.4, "we have a budget");
    const TranscriptSegment mine = segment(AudioChannel::mic, 6, "that is good");
    const TranscriptSegment theirs = segment(AudioChannel::speaker, 1, "We have a budget.");
    tracks->mic.segments = {mine, echo};
    tracks->speaker.segments = {theirs};
    EXPECT_EQ(testing::runTask(context, provider->transcript(session)).segments, (Segments{theirs, mine}));
}

TEST_F(RecordedArtifactTranscriptTest, WorksOnBothTracksAtOnce) {
    tracks->mic.answering.close();
    tracks->speaker.answering.close();
    testing::RunningTask<TranscriptDocument> running(context, provider->transcript(session));
    EXPECT_EQ(tracks->mic.answering.waitingCount(), 1U);
    EXPECT_EQ(tracks->speaker.answering.waitingCount(), 1U);
    running.cancel();
    EXPECT_TRUE(isCancellation([&] { running.result(); }));
}

TEST_F(RecordedArtifactTranscriptTest, PassesOnTheFirstFailureAndEndsTheOtherTrack) {
    for (auto* failing : {&tracks->mic, &tracks->speaker}) {
        auto* other = failing == &tracks->mic ? &tracks->speaker : &tracks->mic;
        const int cancelledBefore = other->answering.cancelledCount();
        failing->failure = "broken";
        other->failure.reset();
        failing->answering.open();
        other->answering.close();
        EXPECT_EQ(testing::failureText([&] { testing::runTask(context, provider->transcript(session)); }), "broken");
        EXPECT_EQ(other->answering.cancelledCount(), cancelledBefore + 1);
    }
}

TEST_F(RecordedArtifactTranscriptTest, PutsBothFilesOnTheRecordingsTimeLine) {
    fileSystem.writeFileAtomically(session.artifacts.micAudio, "sound");
    fileSystem.writeFileAtomically(folder.path() / "timeline.json", R"({"mic": 0.25, "speaker": 4.5})");
    recognition.scripts["ja_JP"].results = {result("はい")};
    std::vector<std::pair<AudioChannel, double>> progress;
    RecordedArtifactTranscriptProvider overFiles(
        "ja_JP", "en_US", RecordedArtifactTranscriptMode::finalAccuracy, recognition, fileSystem,
        [&](AudioChannel channel, double share) { progress.emplace_back(channel, share); });
    testing::runTask(context, overFiles.transcript(session));
    EXPECT_EQ(recognition.startTimes[session.artifacts.micAudio], 0.25);
    EXPECT_EQ(recognition.startTimes[session.artifacts.speakerAudio], 4.5);
    EXPECT_THAT(progress, ::testing::UnorderedElementsAre(std::pair(AudioChannel::mic, 0.5),
                                                          std::pair(AudioChannel::speaker, 0.5)));

    fileSystem.removeFile(session.artifacts.micAudio);
    fileSystem.writeFileAtomically(folder.path() / "timeline.json", "hostile");
    const TranscriptDocument document = testing::runTask(context, overFiles.transcript(session));
    EXPECT_EQ(recognition.startTimes[session.artifacts.speakerAudio], 0);
    EXPECT_THAT(document.segments, ElementsAre(segment(AudioChannel::speaker, 0, "はい")));
}

} // namespace
} // namespace talkledger
