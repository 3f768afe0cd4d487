#include "TalkledgerCore/Presentation/CapturePermissionPresentation.h"

#include <gmock/gmock.h>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using State = CapturePermissionState;
using Tone = CapturePermissionTone;

constexpr AppCopy english{DisplayLanguage::english};

std::vector<Tone> tones(const std::optional<CapturePermissionSnapshot>& snapshot) {
    std::vector<Tone> tones;
    for (const CapturePermissionPresentation& row : capturePermissionPresentations(snapshot, english)) {
        tones.push_back(row.tone);
    }
    return tones;
}

TEST(CapturePermissionPresentation, OffersARequestOnlyWhereNobodyHasDecidedYet) {
    const CapturePermissionSnapshot snapshot{
        .microphone = State::authorized, .screenCapture = State::notDetermined, .systemAudio = State::denied};
    const auto rows = capturePermissionPresentations(snapshot, english);
    EXPECT_THAT(tones(snapshot), ElementsAre(Tone::granted, Tone::refused, Tone::undecided));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[1].kind, CapturePermissionKind::systemAudio);
    EXPECT_EQ(rows[1].state, "Denied");
    EXPECT_EQ(rows[1].reason, english.systemAudioRefused());
    EXPECT_FALSE(rows[0].canBeRequested || rows[1].canBeRequested);
    EXPECT_TRUE(rows[2].canBeRequested);
    EXPECT_EQ(rows[0].reason + rows[2].reason, "");
}

TEST(CapturePermissionPresentation, DoesNotTakeTheUnknownForARefusal) {
    EXPECT_THAT(tones(std::nullopt), ElementsAre(Tone::unknown, Tone::unknown, Tone::unknown));
    EXPECT_EQ(capturePermissionPresentations(std::nullopt, english).front().state, "Checking");
    EXPECT_EQ(capturePermissionPresentations(CapturePermissionSnapshot(), english).front().state, "Unknown");
    EXPECT_FALSE(needsAttention(std::nullopt));
    EXPECT_FALSE(needsAttention(CapturePermissionSnapshot{.microphone = State::authorized}));
}

TEST(CapturePermissionPresentation, TellsWhatARecordingWouldLack) {
    const auto consequence = [](State microphone, State systemAudio) {
        return startConsequence(CapturePermissionSnapshot{.microphone = microphone, .systemAudio = systemAudio},
                                english);
    };
    EXPECT_EQ(consequence(State::authorized, State::authorized), "");
    EXPECT_EQ(consequence(State::authorized, State::denied), english.startRecordsMicrophoneOnly());
    EXPECT_EQ(consequence(State::restricted, State::unknown), english.startRecordsSystemAudioOnly());
    EXPECT_EQ(consequence(State::denied, State::denied), english.noTrackStarted());
}

} // namespace
} // namespace talkledger
