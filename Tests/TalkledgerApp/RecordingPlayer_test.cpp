#include "TalkledgerApp/WindowFixture.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

#include <fstream>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

/// A finished recording of two tracks, chosen in the window.
class RecordingPlayerTest : public testing::WindowFixture {
protected:
    RecordingPlayerTest() {
        const auto said = [](AudioChannel channel, double start, const char* text) {
            return TranscriptSegment(channel, structuralSpeakerRole(channel), start, 3, text,
                                     TranscriptSegmentStatus::final);
        };
        const TranscriptDocument transcript{{said(AudioChannel::speaker, 2, "first"),
                                             said(AudioChannel::mic, 12, "second"),
                                             said(AudioChannel::speaker, 30, "third")}};
        session_ = addFinishedRecording("Aoba", 1'000, transcript);
        std::ofstream(session_.artifacts.micAudio) << "samples";
        std::ofstream(session_.artifacts.speakerAudio) << "samples";
        std::ofstream(session_.directory / "timeline.json") << R"({"mic": 0.25, "speaker": 1.5})";
        audioFiles_.durations[session_.artifacts.micAudio] = 60;
        audioFiles_.durations[session_.artifacts.speakerAudio] = 59;
    }

    PlaybackTrack mic() const { return {.file = session_.artifacts.micAudio, .start = 0.25}; }

    PlaybackTrack speaker() const { return {.file = session_.artifacts.speakerAudio, .start = 1.5}; }

    std::vector<std::string> position() { return textsOf("playbackPosition"); }

    RecordingSession session_;
};

TEST_F(RecordingPlayerTest, PlaysBothTracksOnTheirTimeLine) {
    show();
    EXPECT_TRUE(shows("/ 01:00"));
    click("playButton");
    ASSERT_TRUE(playback_.request);
    EXPECT_EQ(*playback_.request, (PlaybackRequest{.tracks = {mic(), speaker()}, .from = 0, .speed = 1}));
    playback_.place = 12.4;
    EXPECT_TRUE(shows("00:12"));
    item("transcriptLines")->forceActiveFocus();
    press(Qt::Key_Right);
    EXPECT_EQ(playback_.request->from, 17.4);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_NEAR(playback_.request->from, 7.4, 1e-9);
    press(Qt::Key_Space);
    EXPECT_FALSE(playback_.request);
    EXPECT_THAT(position(), ElementsAre("00:07"));
    click("tracks2");
    click("playButton");
    EXPECT_THAT(playback_.request->tracks, ElementsAre(speaker()));
    EXPECT_NEAR(playback_.request->from, 7.4, 1e-9);
    playback_.place = 60.5;
    playback_.tell({.kind = PlaybackEvent::Kind::ended, .request = playback_.number});
    waitUntil([this] { return !playback_.request; });
    click("playButton");
    EXPECT_EQ(playback_.request->from, 0);
}

TEST_F(RecordingPlayerTest, PlaysFromALine) {
    show();
    EXPECT_TRUE(shows("third"));
    item("transcriptLines")->forceActiveFocus();
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_TRUE(playback_.request);
    EXPECT_EQ(playback_.request->from, 12);
    QTest::mouseClick(&window(), Qt::LeftButton, {}, item("speech")->mapToScene({2, 2}).toPoint()); // of the first line
    EXPECT_EQ(playback_.request->from, 2);
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_TRUE(playback_.request); // there is no other recording
}

TEST_F(RecordingPlayerTest, SaysWhatCannotBePlayed) {
    show();
    click("playButton");
    playback_.tell(
        {.kind = PlaybackEvent::Kind::trackFailed, .request = playback_.number, .track = 1, .description = "Broken."});
    EXPECT_TRUE(shows("The system audio cannot be played. Broken."));
    EXPECT_TRUE(playback_.request);
    playback_.tell({.kind = PlaybackEvent::Kind::failed, .request = playback_.number - 1, .description = "Old."});
    playback_.tell({.kind = PlaybackEvent::Kind::failed, .request = playback_.number, .description = "No output."});
    EXPECT_TRUE(shows("The system audio cannot be played. Broken. The recording cannot be played. No output."));
    EXPECT_FALSE(playback_.request);
    click("playButton");
    EXPECT_FALSE(isShown("playbackFailure"));
}

TEST_F(RecordingPlayerTest, OffersWhatThereIsAndStopsWithItsRecording) {
    addFinishedRecording("silent", 2'000, {});
    const RecordingSession half = addFinishedRecording("half", 500, {});
    std::ofstream(half.artifacts.micAudio) << "samples";
    std::ofstream(half.artifacts.speakerAudio) << "";
    show();
    EXPECT_FALSE(isShown("playbackBar"));
    press(Qt::Key_Down, Qt::AltModifier);
    click("tracks2");
    click("playButton");
    EXPECT_TRUE(playback_.request);
    press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_FALSE(playback_.request);
    EXPECT_FALSE(isShown("tracks2"));
    click("playButton");
    ASSERT_TRUE(playback_.request);
    EXPECT_THAT(playback_.request->tracks, ElementsAre(PlaybackTrack{.file = half.artifacts.micAudio, .start = 0}));
    record();
    EXPECT_FALSE(isShown("playbackBar")); // it is chosen
}

} // namespace
} // namespace talkledger
