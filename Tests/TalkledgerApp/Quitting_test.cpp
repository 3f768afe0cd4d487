#include "TalkledgerApp/AppFixture.h"
#include "TalkledgerApp/Quitting.h"

#include <optional>

namespace talkledger {
namespace {

class QuittingTest : public testing::AppFixture {
protected:
    void SetUp() override {
        quitting_.emplace(makeModel());
        QObject::connect(&*quitting_, &Quitting::finished, [this] {
            ++ends_;
            recordedAtTheEnd_ = model().isRecording() || model().isBusy();
        });
    }

    Quitting& quitting() { return *quitting_; }

    std::optional<Quitting> quitting_;
    int ends_{0};
    bool recordedAtTheEnd_{false};
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
    EXPECT_FALSE(recordedAtTheEnd_);
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
}

TEST_F(QuittingTest, AStopUnderWayIsWaitedForWithoutAQuestion) {
    record();
    model().stopRecording();
    quitting().request();
    EXPECT_FALSE(quitting().isAsking());
    waitUntil([this] { return ends_ == 1; });
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
    EXPECT_FALSE(recordedAtTheEnd_);
}

} // namespace
} // namespace talkledger
