#include "Fakes/FakeAudioFiles.h"
#include "Fakes/FakeAudioRecorder.h"
#include "Fakes/FakeSummaryGenerator.h"
#include "Fakes/FakeTranscriptProvider.h"
#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/RecordingCoordinator.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using Case = RecordingCoordinatorError::Case;
using namespace std::chrono_literals;

class RecordingCoordinatorTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    RecordingStore store{folder.path() / "Recordings", fileSystem};
    boost::asio::io_context context;
    testing::CallLog log;
    testing::FakeAudioFiles files{log};
    std::shared_ptr<testing::FakeAudioRecorder> microphone =
        std::make_shared<testing::FakeAudioRecorder>("microphone", log);
    std::shared_ptr<testing::FakeAudioRecorder> systemAudio =
        std::make_shared<testing::FakeAudioRecorder>("system audio", log);
    testing::FakeTranscriptProvider* provider = nullptr;
    testing::FakeSummaryGenerator* generator = nullptr;
    Date now{std::chrono::seconds(1'800'000'000)};
    std::unique_ptr<RecordingCoordinator> coordinator = makeCoordinator();

    std::unique_ptr<RecordingCoordinator> makeCoordinator() {
        auto ownedProvider = std::make_unique<testing::FakeTranscriptProvider>(log);
        auto ownedGenerator = std::make_unique<testing::FakeSummaryGenerator>(log);
        provider = ownedProvider.get();
        generator = ownedGenerator.get();
        provider->document.segments.emplace_back(AudioChannel::mic, SpeakerRole::me, 1, 2, "hello",
                                                 TranscriptSegmentStatus::final);
        generator->result.overview = "A greeting.";
        return std::make_unique<RecordingCoordinator>(store, microphone, systemAudio, std::move(ownedProvider),
                                                      std::move(ownedGenerator),
                                                      RecordingArtifactDiagnosticsBuilder(fileSystem, files), [this] {
                                                          log.add("clock");
                                                          return now;
                                                      });
    }

    RecordingSession start() { return testing::runTask(context, coordinator->start("Weekly")); }

    RecordingSession stop() { return testing::runTask(context, coordinator->stop()).value(); }

    template <typename Value>
    static std::optional<RecordingCoordinatorError> errorOf(testing::RunningTask<Value>& task) {
        try {
            task.result();
        } catch (const RecordingCoordinatorError& error) {
            return error;
        }
        return std::nullopt;
    }

    /// Takes the place of a file that is to be written, so that writing fails.
    static void block(const std::filesystem::path& file) {
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);
    }
};

TEST_F(RecordingCoordinatorTest, RecordsFromStartToStop) {
    const RecordingSession session = start();
    EXPECT_TRUE(coordinator->isRecording());
    EXPECT_EQ(session.title, "Weekly");
    EXPECT_EQ(session.startedAt, now);
    EXPECT_EQ(microphone->file, session.artifacts.micAudio);
    EXPECT_EQ(systemAudio->file, session.artifacts.speakerAudio);
    EXPECT_EQ(store.loadDiagnostics(session),
              (RecordingDiagnostics{true, true, {"Microphone capture started.", "System audio capture started."}, {}}));

    fileSystem.writeFileAtomically(session.artifacts.micAudio, "sound");
    files.durations[session.artifacts.micAudio] = 12.5;
    now += 60s;
    const RecordingSession finished = stop();
    EXPECT_FALSE(coordinator->isRecording());
    EXPECT_EQ(finished.endedAt, now);
    EXPECT_EQ(store.loadSessions().at(0).endedAt, now);
    EXPECT_EQ(store.loadTranscript(session), provider->document);
    EXPECT_EQ(generator->transcript, provider->document);
    EXPECT_EQ(store.loadSummary(session), generator->result);
    const RecordingDiagnostics diagnostics = store.loadDiagnostics(session);
    EXPECT_THAT(diagnostics.messages, ElementsAre("Microphone capture stopped.", "System audio capture stopped.",
                                                  "Transcript and summary generated."));
    EXPECT_THAT(diagnostics.artifacts,
                ElementsAre(RecordingArtifactDiagnostic{AudioChannel::mic, "mic.wav", true, 5, 12.5, false},
                            RecordingArtifactDiagnostic{AudioChannel::speaker, "speaker.m4a", false, 0, {}, true}));
    EXPECT_THAT(log.calls(), ElementsAre("clock", "start microphone", "start system audio", "stop microphone",
                                         "stop system audio", "transcribe", "summarize", "clock"));
}

TEST_F(RecordingCoordinatorTest, GoesOnWithOneTrack) {
    microphone->startFailure = "There is none.";
    const RecordingSession session = start();
    EXPECT_EQ(store.loadDiagnostics(session),
              (RecordingDiagnostics{
                  false, true, {"Microphone capture failed: There is none.", "System audio capture started."}, {}}));
    stop();
    const RecordingDiagnostics diagnostics = store.loadDiagnostics(session);
    EXPECT_FALSE(diagnostics.microphoneStarted);
    EXPECT_TRUE(diagnostics.systemAudioStarted);
    EXPECT_EQ(diagnostics.messages.front(), "System audio capture stopped.");
    EXPECT_EQ(diagnostics.artifacts.size(), 2U);
    EXPECT_THAT(log.calls(), ::testing::Not(::testing::Contains("stop microphone")));
}

TEST_F(RecordingCoordinatorTest, FailsWhenNeitherTrackStarts) {
    microphone->startFailure = "No microphone.";
    systemAudio->startFailure = "No server.";
    testing::RunningTask<RecordingSession> starting(context, coordinator->start("Weekly"));
    EXPECT_EQ(errorOf(starting),
              RecordingCoordinatorError(Case::noCaptureTrackStarted, {"Microphone capture failed: No microphone.",
                                                                      "System audio capture failed: No server."}));
    EXPECT_EQ(testing::failureText([&] { starting.result(); }),
              "No capture track could be started: Microphone capture failed: No microphone. "
              "System audio capture failed: No server.");
    EXPECT_FALSE(coordinator->isRecording());
    const std::vector<RecordingSession> sessions = store.loadSessions();
    ASSERT_EQ(sessions.size(), 1U);
    EXPECT_EQ(store.loadDiagnostics(sessions[0]).messages.size(), 2U);
    microphone->startFailure.reset();
    start();
}

TEST_F(RecordingCoordinatorTest, RefusesWhatDoesNotFitItsState) {
    testing::RunningTask<std::optional<RecordingSession>> early(context, coordinator->stop());
    EXPECT_EQ(errorOf(early), RecordingCoordinatorError(Case::notRecording));

    microphone->starting.close();
    testing::RunningTask<RecordingSession> starting(context, coordinator->start("First"));
    testing::RunningTask<RecordingSession> second(context, coordinator->start("Second"));
    EXPECT_EQ(errorOf(second), RecordingCoordinatorError(Case::alreadyRecording));
    microphone->starting.open();
    testing::poll(context);
    EXPECT_EQ(starting.result().title, "First");
    EXPECT_EQ(store.loadSessions().size(), 1U);
}

TEST_F(RecordingCoordinatorTest, LeavesARunningStopAlone) {
    start();
    const auto gates = {&microphone->stopping, &systemAudio->stopping, &provider->answering, &generator->answering};
    for (testing::Gate* gate : gates) {
        gate->close();
    }
    testing::RunningTask<std::optional<RecordingSession>> stopping(context, coordinator->stop());
    for (testing::Gate* gate : gates) {
        ASSERT_EQ(gate->waitingCount(), 1U);
        testing::RunningTask<std::optional<RecordingSession>> again(context, coordinator->stop());
        EXPECT_FALSE(again.result().has_value());
        testing::RunningTask<RecordingSession> starting(context, coordinator->start("Next"));
        EXPECT_EQ(errorOf(starting), RecordingCoordinatorError(Case::alreadyRecording));
        gate->open();
        testing::poll(context);
    }
    EXPECT_TRUE(stopping.result().has_value());
    EXPECT_FALSE(coordinator->isRecording());
}

TEST_F(RecordingCoordinatorTest, KeepsTheTitleThatTheRecordingWasGivenMeanwhile) {
    const RecordingSession session = start();
    store.renameSession(session, "While it was recorded");
    EXPECT_EQ(stop().title, "While it was recorded");

    const RecordingSession next = start();
    generator->answering.close();
    testing::RunningTask<std::optional<RecordingSession>> stopping(context, coordinator->stop());
    store.renameSession(next, "While it was stopped");
    generator->answering.open();
    testing::poll(context);
    EXPECT_EQ(store.loadSession(next), stopping.result().value());
    EXPECT_EQ(store.loadSession(next).title, "While it was stopped");

    const RecordingSession broken = start();
    fileSystem.writeFileAtomically(broken.directory / "session.json", "{");
    EXPECT_EQ(stop().title, "Weekly");
    EXPECT_EQ(store.loadSession(broken).endedAt, now);
}

TEST_F(RecordingCoordinatorTest, TellsEveryFailureOfAStopInOrder) {
    const RecordingSession session = start();
    microphone->stopFailure = "mic.";
    systemAudio->stopFailure = "speaker.";
    provider->failure = "words.";
    generator->failure = "model.";
    stop();
    EXPECT_THAT(store.loadDiagnostics(session).messages,
                ElementsAre("Microphone capture stop failed: mic.", "System audio capture stop failed: speaker.",
                            "Transcription failed: words.", "Empty transcript and summary generated.",
                            "Foundation Models summary failed: model.", "Empty summary generated."));
    EXPECT_EQ(store.loadTranscript(session), TranscriptDocument());
    EXPECT_EQ(generator->transcript, TranscriptDocument());
    EXPECT_EQ(store.loadSummary(session), SalesSummary());

    provider->failure.reset();
    const RecordingSession next = start();
    stop();
    EXPECT_EQ(store.loadTranscript(next), provider->document) << "only the summary failed";
    EXPECT_THAT(store.loadDiagnostics(next).messages, ::testing::Contains("Transcript and summary generated."));
}

TEST_F(RecordingCoordinatorTest, IsIdleAfterAStopThatCannotWrite) {
    using Location = std::filesystem::path (*)(const RecordingSession&);
    const Location places[] = {
        [](const RecordingSession& session) { return session.artifacts.transcript; },
        [](const RecordingSession& session) { return session.artifacts.summary; },
        [](const RecordingSession& session) { return session.artifacts.diagnostics; },
        [](const RecordingSession& session) { return session.directory / "session.json"; },
    };
    for (const Location place : places) {
        const RecordingSession session = start();
        block(place(session));
        EXPECT_NE(testing::failureText([&] { stop(); }), "") << place(session);
        EXPECT_FALSE(coordinator->isRecording());
    }
    EXPECT_EQ(testing::failureText([&] { stop(); }), "No recording is currently in progress.");
}

TEST_F(RecordingCoordinatorTest, StartsNothingWithoutAFolderAndKeepsRecordingWithoutDiagnostics) {
    std::filesystem::remove_all(folder.path() / "Recordings");
    fileSystem.writeFileAtomically(folder.path() / "Recordings", "in the way");
    EXPECT_NE(testing::failureText([&] { start(); }), "");
    EXPECT_FALSE(coordinator->isRecording());
    EXPECT_THAT(log.calls(), ElementsAre("clock"));
    std::filesystem::remove_all(folder.path() / "Recordings");

    microphone->starting.close();
    testing::RunningTask<RecordingSession> starting(context, coordinator->start("Weekly"));
    const RecordingSession session = store.loadSessions().at(0);
    block(session.artifacts.diagnostics);
    microphone->starting.open();
    testing::poll(context);
    EXPECT_NE(testing::failureText([&] { starting.result(); }), "");
    EXPECT_TRUE(coordinator->isRecording());
    std::filesystem::remove(session.artifacts.diagnostics);
    stop();
    EXPECT_EQ(store.loadDiagnostics(session).messages.size(), 3U);
}

TEST_F(RecordingCoordinatorTest, StopsBothTracksEvenWhenTheStopIsCancelled) {
    start();
    microphone->stopping.close();
    provider->answering.close();
    testing::RunningTask<std::optional<RecordingSession>> stopping(context, coordinator->stop());
    stopping.cancel();
    EXPECT_EQ(microphone->stopping.waitingCount(), 1U);
    microphone->stopping.open();
    testing::poll(context);
    EXPECT_EQ(log.calls().back(), "transcribe");
    stopping.cancel();
    EXPECT_EQ(provider->answering.cancelledCount(), 1);
    EXPECT_THROW(stopping.result(), boost::system::system_error);
    EXPECT_FALSE(coordinator->isRecording());
    const RecordingSession recording = store.loadSessions().at(0);
    EXPECT_FALSE(fileSystem.fileExists(recording.artifacts.transcript)) << "an abandoned stop leaves no empty one";
}

} // namespace
} // namespace talkledger
