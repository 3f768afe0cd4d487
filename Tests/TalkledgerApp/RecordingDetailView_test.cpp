#include "TalkledgerApp/WindowFixture.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

#include <QClipboard>
#include <QGuiApplication>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

/// One finished recording in the window.
class RecordingDetailViewTest : public testing::WindowFixture {
protected:
    void add(const SalesSummary& summary, const RecordingDiagnostics& diagnostics) {
        const TranscriptDocument transcript{
            {TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 1, 1, "The budget is approved.",
                               TranscriptSegmentStatus::final)}};
        const RecordingSession session = addFinishedRecording("Aoba", 1'000, transcript);
        RecordingStore store(recordingsFolder(), fileSystem_);
        store.saveSummary(summary, session);
        store.saveDiagnostics(diagnostics, session);
    }

    /// As a stop without any trouble leaves it.
    static RecordingDiagnostics sound() {
        return {.microphoneStarted = true,
                .systemAudioStarted = true,
                .messages = {"Transcript and summary generated."},
                .artifacts = {{.channel = AudioChannel::mic,
                               .fileName = "mic.wav",
                               .exists = true,
                               .byteCount = 487'300'000,
                               .durationSeconds = 4538.9,
                               .isEmpty = false},
                              {.channel = AudioChannel::speaker,
                               .fileName = "speaker.m4a",
                               .exists = true,
                               .byteCount = 1'240'000'000,
                               .durationSeconds = 61,
                               .isEmpty = false}}};
    }

    std::string storedTitle() { return model().sessions().front().title; }
};

TEST_F(RecordingDetailViewTest, RenamesInPlace) {
    add({}, sound());
    show();
    press(Qt::Key_F2);
    EXPECT_TRUE(isShown("titleField"));
    type("Kitahama");
    press(Qt::Key_Escape);
    EXPECT_EQ(storedTitle(), "Aoba");
    EXPECT_FALSE(isShown("titleField"));
    click("renameButton");
    type("Kitahama works");
    press(Qt::Key_Return);
    EXPECT_EQ(storedTitle(), "Kitahama works");
    EXPECT_TRUE(shows("Recording renamed"));
    EXPECT_THAT(textsOf("recordingTitle"), ElementsAre("Kitahama works"));
    press(Qt::Key_F2);
    type(" ");
    press(Qt::Key_Return);
    EXPECT_EQ(storedTitle(), "Kitahama works");
    press(Qt::Key_F2);
    type("left");
    click("revealButton");
    EXPECT_EQ(storedTitle(), "left");
}

TEST_F(RecordingDetailViewTest, AGeneratedTitleStaysUnlessItIsChanged) {
    SalesSummary summary;
    summary.overview = "The trial begins in May.";
    add(summary, sound());
    RecordingStore store(recordingsFolder(), fileSystem_);
    store.renameSession(store.loadSessions().front(), "Sales call 2025-06-02 10:30:00");
    show();
    EXPECT_TRUE(shows("The trial begins in May."));
    press(Qt::Key_F2);
    press(Qt::Key_Return);
    EXPECT_EQ(storedTitle(), "Sales call 2025-06-02 10:30:00");
}

TEST_F(RecordingDetailViewTest, ShowsWhatTheSummaryHolds) {
    SalesSummary summary;
    summary.overview = "The trial begins in May.";
    summary.nextActions = {"Send the quote", " "};
    summary.followUpEmailDraft = "Thanks for the call.";
    add(summary, sound());
    addFinishedRecording("without", 100, {});
    show();
    EXPECT_TRUE(shows("The trial begins in May."));
    EXPECT_TRUE(shows("Next actions"));
    EXPECT_FALSE(isShown("summaryNote"));
    click("copySummaryButton");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(),
              "Overview\nThe trial begins in May.\n\nNext actions\n- Send the quote");
    press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_TRUE(shows("No summary yet."));
}

TEST_F(RecordingDetailViewTest, DraftsASummaryFromKeyPhrasesWhileTheNextRecordingRuns) {
    const TranscriptDocument transcript{
        {TranscriptSegment(AudioChannel::speaker, SpeakerRole::customer, 1, 1,
                           "We decided to start the trial in every office in April.", TranscriptSegmentStatus::final)}};
    addFinishedRecording("Sales call 2026-03-02 09:00:00", 1'000, transcript);
    show();
    record();
    press(Qt::Key_Down, Qt::AltModifier); // past the one in progress
    EXPECT_TRUE(shows("No summary yet."));
    click("moreButton");
    click("draftFromKeyPhrases");
    EXPECT_TRUE(shows("Decisions"));
    EXPECT_TRUE(shows("start the trial in every office i...")) << "its title in the list";
    stop();
}

TEST_F(RecordingDetailViewTest, OffersTheLiveTranscriptWhereTheFilesGaveNone) {
    const TranscriptDocument live{
        {TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 1, 1, "Good morning.", TranscriptSegmentStatus::final)}};
    TranscriptDocument longOne; // is not read at once
    longOne.segments.assign(2'000, TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 1, 1, "Quite so.",
                                                     TranscriptSegmentStatus::final));
    RecordingStore store(recordingsFolder(), fileSystem_);
    store.saveLiveTranscript(live, addFinishedRecording("Aoba", 1'000, {}));
    store.saveLiveTranscript(live, addFinishedRecording("Weekly", 2'000, longOne));
    show();
    waitUntil([this] { return item("transcriptLines")->property("count").toInt() > 0; });
    EXPECT_FALSE(isShown("useLiveTranscript"));
    press(Qt::Key_Down, Qt::AltModifier);
    click("useLiveTranscript");
    EXPECT_TRUE(shows("Good morning."));
    EXPECT_FALSE(isShown("useLiveTranscript"));
}

TEST_F(RecordingDetailViewTest, UnfoldsTheDiagnosticsWhenSomethingIsMissing) {
    add({}, sound());
    RecordingDiagnostics broken = sound();
    broken.artifacts[1].byteCount = 0;
    broken.artifacts[1].isEmpty = true;
    broken.artifacts[1].durationSeconds.reset();
    broken.messages = {"Transcription failed: no speech"};
    RecordingStore store(recordingsFolder(), fileSystem_);
    const RecordingSession late = addFinishedRecording("broken", 2'000, {});
    store.saveDiagnostics(broken, late);
    show();
    EXPECT_TRUE(shows("Empty"));
    EXPECT_TRUE(shows("Transcription failed: no speech"));
    EXPECT_FALSE(isShown("foldedDiagnostics"));
    press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_TRUE(shows("Mic Saved · Speaker Saved"));
    press(Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(shows("75:38"));
    EXPECT_TRUE(shows("487.3 MB"));
    EXPECT_TRUE(shows("1.2 GB"));
    EXPECT_TRUE(shows("Transcript and summary generated."));
}

TEST_F(RecordingDetailViewTest, OffersToRecoverARecordingThatWasCutOff) {
    RecordingStore store(recordingsFolder(), fileSystem_);
    const RecordingSession cutOff = store.createSession("Cut off", Date(std::chrono::seconds(2'000)));
    fileSystem_.writeFileAtomically(cutOff.artifacts.micAudio, "samples");
    store.createSession("Without sound", Date(std::chrono::seconds(1'000)));
    audioFiles_.durations[cutOff.artifacts.micAudio] = 90;
    show();
    EXPECT_TRUE(shows("This recording ended unexpectedly"));
    press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_FALSE(isShown("recoverBanner")) << "there is nothing to be recovered";
    press(Qt::Key_Up, Qt::AltModifier);
    click("recoverLater");
    EXPECT_FALSE(isShown("recoverBanner"));
    press(Qt::Key_Down, Qt::AltModifier);
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_FALSE(isShown("recoverBanner")) << "put off for as long as the window is there";
    speech_.results.close();
    click("moreButton");
    click("finishRecording");
    EXPECT_TRUE(shows("Recovering"));
    EXPECT_TRUE(shows("50%"));
    speech_.results.open();
    EXPECT_TRUE(shows("The budget is approved."));
    EXPECT_FALSE(isShown("revisionStrip"));
}

TEST_F(RecordingDetailViewTest, ShowsOnePageAtATimeWhereThereIsNoWidth) {
    add({}, sound());
    show();
    EXPECT_FALSE(isShown("tab0"));
    resize(760, 640);
    EXPECT_TRUE(shows("The budget is approved."));
    EXPECT_FALSE(isShown("summaryNote"));
    click("tab0");
    EXPECT_TRUE(shows("No summary yet."));
    EXPECT_FALSE(isShown("transcriptLines"));
    press(Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(shows("mic.wav"));
    press(Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(shows("The budget is approved."));
    EXPECT_TRUE(isShown("recordingList"));
    resize(480, 640);
    EXPECT_FALSE(isShown("recordingList"));
    click("backButton");
    EXPECT_TRUE(isShown("recordingList"));
    EXPECT_FALSE(isShown("transcriptLines"));
}

} // namespace
} // namespace talkledger
