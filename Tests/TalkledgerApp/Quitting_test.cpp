#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/Quitting.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <optional>

namespace talkledger {
namespace {

class QuittingTest : public testing::AppFixture {
protected:
    void SetUp() override {
        revisions_.emplace(makeModel(), QtMainExecutor(context_));
        quitting_.emplace(model(), *revisions_);
        QObject::connect(&*quitting_, &Quitting::finished, [this] {
            ++ends_;
            workedAtTheEnd_ = model().isRecording() || model().isBusy() || revisions_->isWorking();
        });
    }

    Quitting& quitting() { return *quitting_; }

    std::optional<RecordingRevisions> revisions_;
    std::optional<Quitting> quitting_;
    int ends_{0};
    bool workedAtTheEnd_{false};
};

TEST_F(QuittingTest, EndsAtOnceWhenNothingIsRecorded) {
    quitting().request();
    EXPECT_EQ(ends_, 1);
    EXPECT_FALSE(quitting().isAsking());
}

TEST_F(QuittingTest, AsksWhileRecordingAndKeepsItWhenToldTo) {
    record();
    quitting().request();
    EXPECT_TRUE(quitting().isAsking());
    quitting().keepRecording();
    EXPECT_FALSE(quitting().isAsking() || quitting().isFinishing());
    EXPECT_TRUE(model().isRecording());
    EXPECT_EQ(ends_, 0);
}

TEST_F(QuittingTest, FinishesTheRecordingBeforeTheEnd) {
    record();
    hearSomething();
    speech_.results.close();
    quitting().request();
    quitting().stopAndQuit();
    EXPECT_TRUE(model().isBusy() && quitting().isFinishing());
    quitting().request(); // again, in impatience
    EXPECT_FALSE(quitting().isAsking());
    speech_.results.open();
    waitUntil([this] { return ends_ > 0; });
    EXPECT_EQ(ends_, 1);
    EXPECT_FALSE(workedAtTheEnd_);
    ASSERT_TRUE(model().sessions().front().endedAt);
    EXPECT_TRUE(model().transcript(model().sessions().front()));
}

TEST_F(QuittingTest, TheQuestionGoesWithItsRecording) {
    model().startRecording();
    quitting().request();
    EXPECT_TRUE(quitting().isAsking()) << "a start is under way";
    waitUntilIdle();
    EXPECT_TRUE(quitting().isAsking());
    stop();
    EXPECT_FALSE(quitting().isAsking());
    EXPECT_EQ(ends_, 0);
    record();
    model().stopRecording();
    quitting().request();
    EXPECT_FALSE(quitting().isAsking()) << "a stop is under way";
    waitUntil([this] { return ends_ == 1; });
}

TEST_F(QuittingTest, WaitsForARecordingThatIsWorkedOn) {
    record();
    hearSomething();
    stop();
    speech_.results.close();
    revisions_->transcribeAgain(QString::fromStdString(uuidText(model().sessions().front().id)));
    model().showError("Something else has failed meanwhile.");
    quitting().request();
    EXPECT_TRUE(quitting().isFinishing() && !quitting().isAsking());
    speech_.results.open();
    waitUntil([this] { return ends_ > 0; });
    EXPECT_EQ(ends_, 1);
    EXPECT_FALSE(workedAtTheEnd_);
}

TEST_F(QuittingTest, StaysToTellTheUserWhatWasNotSaved) {
    record();
    std::filesystem::remove_all(model().currentSession()->directory);
    quitting().request();
    quitting().stopAndQuit();
    waitUntilIdle();
    EXPECT_TRUE(model().statusIsFailure());
    EXPECT_FALSE(quitting().isFinishing());
    EXPECT_EQ(ends_, 0);
    quitting().request();
    EXPECT_EQ(ends_, 1) << "it has been told";
}

TEST_F(QuittingTest, TheEndOfTheSessionAsksNobodyAndEndsWhateverFails) {
    record();
    std::filesystem::remove_all(model().currentSession()->directory);
    quitting().request();
    quitting().finish();
    EXPECT_FALSE(quitting().isAsking());
    waitUntil([this] { return ends_ == 1; });
    EXPECT_FALSE(workedAtTheEnd_);
}

} // namespace
} // namespace talkledger
