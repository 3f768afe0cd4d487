#include "TalkledgerApp/WindowFixture.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class RecordingSearchTest : public testing::WindowFixture {
protected:
    static TranscriptSegment said(double start, const std::string& text) {
        return {AudioChannel::speaker, SpeakerRole::customer, start, 1, text, TranscriptSegmentStatus::final};
    }

    void showThree() {
        RecordingStore store(recordingsFolder(), fileSystem_);
        addFinishedRecording("Aoba", 3'000,
                             {{said(1, "Good morning."), said(60, "The Quote & the quote."), said(120, "quote")}});
        SalesSummary summary;
        summary.nextActions = {"Send the ｑｕｏｔｅ by Tuesday"};
        store.saveSummary(summary, addFinishedRecording("Kitahama", 2'000, {}));
        addFinishedRecording("Tozai, new quote", 1'000, {});
        show();
    }

    void search(const char* text) {
        press(Qt::Key_F, Qt::ControlModifier);
        type(text);
    }

    /// As styled text.
    std::string firstSnippet() {
        const QQuickItem* const snippet = item("snippet");
        return snippet == nullptr ? std::string() : snippet->property("marked").toString().toStdString();
    }

    std::string chosen() { return textsOf("recordingTitle").at(0); }
};

TEST_F(RecordingSearchTest, FindsTitlesTranscriptsAndSummariesAndGoesThroughTheirPlaces) {
    showThree();
    search("quote");
    // What was found for the first letters may be shown before.
    waitUntil([this] { return firstSnippet().find(">Quote</span> &amp; the <span") != std::string::npos; });
    EXPECT_TRUE(shows("5 hits in 3 recordings"));
    EXPECT_THAT(textsOf("snippet"), ElementsAre(HasSubstr("Transcript 01:00"), HasSubstr("Transcript 02:00"),
                                                HasSubstr("Summary"), HasSubstr("Title")));
    EXPECT_TRUE(shows("1 / 3"));
    press(Qt::Key_Return); // it is chosen already
    EXPECT_TRUE(shows("2 / 3"));
    press(Qt::Key_Return, Qt::ShiftModifier);
    press(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(shows("3 / 3"));
    click("nextHit");
    EXPECT_TRUE(shows("1 / 3"));
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(chosen(), "Kitahama");
    QTest::mouseClick(&window(), Qt::LeftButton, {}, item("snippet")->mapToScene({2, 2}).toPoint());
    EXPECT_EQ(chosen(), "Aoba");
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Escape);
    EXPECT_TRUE(isShown("recordingList"));
    EXPECT_EQ(chosen(), "Aoba");
    EXPECT_TRUE(shows("3 recordings"));
}

TEST_F(RecordingSearchTest, FollowsWhatChanges) {
    showThree();
    search("minato");
    EXPECT_TRUE(shows("Nothing found for \"minato\""));
    model().rename(model().sessions().back(), "Minato foods");
    EXPECT_TRUE(shows("1 hit in 1 recording"));
    press(Qt::Key_Escape);
    search("tuesday send");
    EXPECT_TRUE(shows("2 hits in 1 recording"));
    record();
    hearSomething();
    stop();
    press(Qt::Key_F, Qt::ControlModifier);
    type("approved");
    EXPECT_TRUE(shows("1 hit in 1 recording"));
}

} // namespace
} // namespace talkledger
