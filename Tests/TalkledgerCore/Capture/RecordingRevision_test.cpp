#include "Fakes/FakeAudioFiles.h"
#include "Fakes/FakeSummaryGenerator.h"
#include "Fakes/FakeTranscriptProvider.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/RecordingRevision.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

TranscriptDocument said(const std::string& text) {
    TranscriptDocument document;
    document.segments.emplace_back(AudioChannel::speaker, SpeakerRole::customer, 1, 2, text,
                                   TranscriptSegmentStatus::final);
    return document;
}

class RecordingRevisionTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    RecordingStore store{folder.path() / "Recordings", fileSystem};
    boost::asio::io_context context;
    testing::CallLog log;
    testing::FakeAudioFiles files{log};
    testing::FakeTranscriptProvider* provider = nullptr;
    testing::FakeSummaryGenerator* generator = nullptr;
    std::unique_ptr<RecordingRevision> revision = makeRevision();
    RecordingSession session = store.createSession("Weekly", Date(1'800'000'000s));

    std::unique_ptr<RecordingRevision> makeRevision() {
        auto ownedProvider = std::make_unique<testing::FakeTranscriptProvider>(log);
        auto ownedGenerator = std::make_unique<testing::FakeSummaryGenerator>(log);
        provider = ownedProvider.get();
        generator = ownedGenerator.get();
        provider->document = said("hello");
        generator->result.overview = "A greeting.";
        return std::make_unique<RecordingRevision>(store, fileSystem, files, std::move(ownedProvider),
                                                   std::move(ownedGenerator));
    }

    std::vector<std::string> messages() const { return store.loadDiagnostics(session).messages; }
};

TEST_F(RecordingRevisionTest, FinishesWhatWasCutOff) {
    store.saveDiagnostics({true, true, {"Microphone capture started.", "System audio capture started."}, {}}, session);
    fileSystem.writeFileAtomically(session.artifacts.micAudio, "sound");
    fileSystem.writeFileAtomically(session.artifacts.speakerAudio, "sound");
    fileSystem.writeFileAtomically(session.directory / "timeline.json", R"({"mic": 0.5, "speaker": 2})");
    files.durations[session.artifacts.micAudio] = 60.5;
    files.durations[session.artifacts.speakerAudio] = 60;
    store.renameSession(session, "Renamed meanwhile");

    const RecordingSession finished = testing::runTask(context, revision->finishInterrupted(session));
    EXPECT_EQ(finished.endedAt, session.startedAt + 62s);
    EXPECT_EQ(finished.title, "Renamed meanwhile");
    EXPECT_EQ(store.loadSessions(), std::vector{finished});
    EXPECT_EQ(store.loadTranscript(session), provider->document);
    EXPECT_EQ(store.loadSummary(session).overview, "A greeting.");
    const RecordingDiagnostics diagnostics = store.loadDiagnostics(session);
    EXPECT_TRUE(diagnostics.microphoneStarted && diagnostics.systemAudioStarted);
    EXPECT_THAT(diagnostics.messages, ElementsAre("Microphone capture started.", "System audio capture started.",
                                                  "The recording was interrupted and has been finished later.",
                                                  "Transcript and summary generated."));
    EXPECT_THAT(log.calls(), ElementsAre("mend speaker.m4a", "transcribe", "summarize"));
}

TEST_F(RecordingRevisionTest, FinishesWhatHoldsNothing) {
    std::filesystem::remove(session.artifacts.diagnostics);
    provider->failure = "There is no speech.";
    const RecordingSession finished = testing::runTask(context, revision->finishInterrupted(session));
    EXPECT_EQ(finished.endedAt, session.startedAt);
    EXPECT_EQ(store.loadTranscript(session), TranscriptDocument());
}

TEST_F(RecordingRevisionTest, ADocumentGivesWayOnlyToABetterOne) {
    store.saveTranscript(said("before"), session);
    SalesSummary summary;
    summary.overview = "Before.";
    store.saveSummary(summary, session);

    provider->document = {};
    EXPECT_THROW(testing::runTask(context, revision->transcribeAgain(session)), RecordingRevisionError);
    provider->failure = "The engine has died.";
    EXPECT_ANY_THROW(testing::runTask(context, revision->transcribeAgain(session)));
    generator->failure = "There is no model.";
    EXPECT_ANY_THROW(testing::runTask(context, revision->summarizeAgain(session)));
    EXPECT_EQ(store.loadTranscript(session), said("before"));
    EXPECT_EQ(store.loadSummary(session), summary);
    EXPECT_THAT(messages(), ElementsAre("Session created."));

    provider->failure.reset();
    provider->document = said("Our biggest problem is manual reporting.");
    generator->failure.reset();
    testing::runTask(context, revision->transcribeAgain(session));
    testing::runTask(context, revision->summarizeAgain(session));
    EXPECT_EQ(store.loadTranscript(session), provider->document);
    EXPECT_EQ(generator->transcript, provider->document);
    EXPECT_EQ(store.loadSummary(session).overview, "A greeting.");
    revision->draftFromKeyPhrases(session);
    EXPECT_FALSE(store.loadSummary(session).customerPains.empty());
    EXPECT_THAT(messages(), ElementsAre("Session created.", "Transcribed again.", "Summarized again.",
                                        "The summary was drafted from key phrases."));
}

TEST_F(RecordingRevisionTest, TakesTheLiveTranscriptOver) {
    EXPECT_ANY_THROW(revision->useLiveTranscript(session)) << "there is none";
    TranscriptDocument live = said("Our biggest problem is manual reporting.");
    live.segments.front().status = TranscriptSegmentStatus::partial;
    store.saveLiveTranscript(live, session);
    revision->useLiveTranscript(session);
    EXPECT_EQ(store.loadTranscript(session), said("Our biggest problem is manual reporting."));
    EXPECT_THAT(messages(), ElementsAre("Session created.", "The live transcript was taken for the recording's own."));
}

} // namespace
} // namespace talkledger
