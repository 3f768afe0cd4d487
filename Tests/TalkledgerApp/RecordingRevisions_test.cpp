#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/RecordingRevisions.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <gmock/gmock.h>

#include <fstream>

namespace talkledger::testing {
namespace {

using Work = RecordingRevisions::Work;

class RecordingRevisionsTest : public AppFixture {
protected:
    RecordingRevisions& makeRevisions() {
        makeModel().setDisplayLanguage(DisplayLanguage::english);
        return revisions_.emplace(model(), QtMainExecutor(context_));
    }

    void waitUntilDone() {
        waitUntil([this] { return revisions_->work() == Work::none; });
    }

    /// A recording that an earlier run of the program was killed in.
    QString addInterruptedRecording() {
        RecordingStore store(recordingsFolder(), fileSystem_);
        const RecordingSession session = store.createSession("Cut off", Date(std::chrono::seconds(1'000)));
        for (const auto& file : {session.artifacts.micAudio, session.artifacts.speakerAudio}) {
            std::ofstream(file) << "sound";
            audioFiles_.durations[file] = 90;
        }
        return QString::fromStdString(uuidText(session.id));
    }

    const RecordingSession& recording(const QString& recordingID) { return *model().session(recordingID); }

    std::optional<RecordingRevisions> revisions_;
};

TEST_F(RecordingRevisionsTest, FinishesARecordingThatWasCutOffWhileAnotherIsInProgress) {
    const QString cutOff = addInterruptedRecording();
    RecordingRevisions& revisions = makeRevisions();
    record();
    const QString current = model().currentRecordingID();
    EXPECT_TRUE(revisions.isInterrupted(cutOff));
    EXPECT_FALSE(revisions.isInterrupted(current));
    revisions.finish(current);
    EXPECT_EQ(revisions.work(), Work::none);

    revisions.finish(cutOff);
    EXPECT_EQ(revisions.work(), Work::finishing);
    EXPECT_EQ(revisions.recordingID(), cutOff);
    revisions.transcribeAgain(cutOff); // one thing at a time
    EXPECT_EQ(revisions.work(), Work::finishing);
    waitUntilDone();
    EXPECT_EQ(model().lastError(), std::nullopt);
    EXPECT_EQ(recording(cutOff).endedAt, recording(cutOff).startedAt + std::chrono::seconds(90));
    EXPECT_FALSE(revisions.isInterrupted(cutOff));
    EXPECT_FALSE(model().transcript(recording(cutOff))->segments.empty());
    EXPECT_TRUE(model().isRecording());
    stop();
}

TEST_F(RecordingRevisionsTest, MakesDocumentsAnewOrSaysWhyNot) {
    TranscriptDocument transcript;
    transcript.segments.emplace_back(AudioChannel::speaker, SpeakerRole::customer, 1, 2,
                                     "Our biggest problem is manual reporting.", TranscriptSegmentStatus::final);
    const QString id = QString::fromStdString(uuidText(addFinishedRecording("Weekly", 1'000, transcript).id));
    RecordingRevisions& revisions = makeRevisions();
    revisions.draftFromKeyPhrases(id);
    waitUntilDone();
    EXPECT_FALSE(model().listSummary(recording(id))->customerPains.empty());
    EXPECT_EQ(model().diagnostics(recording(id))->messages.back(), "The summary was drafted from key phrases.");

    const auto summary = model().listSummary(recording(id));
    revisions.summarizeAgain(id);
    waitUntilDone();
    EXPECT_NE(model().lastError(), std::nullopt) << "there is no model";
    EXPECT_EQ(model().listSummary(recording(id)), summary);

    std::ofstream(recording(id).artifacts.speakerAudio) << "sound";
    revisions.transcribeAgain(id);
    waitUntilDone();
    EXPECT_EQ(model().lastError(), std::nullopt);
    EXPECT_EQ(model().transcript(recording(id))->segments.front().text, "The budget is approved.");
    revisions.transcribeAgain(QStringLiteral("no recording"));
    EXPECT_EQ(revisions.work(), Work::none);
}

} // namespace
} // namespace talkledger::testing
