#include "TalkledgerCore/Capture/TrackHealth.h"

#include <gmock/gmock.h>

namespace talkledger {
namespace {

using enum TrackHealthEvent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TrackHealth, KeepsDeviceAndFileOfEachTrackApart) {
    TrackHealth health;
    // The device's return says nothing of the file, nor the file's recovery of the device.
    for (const auto& [event, condition] : {std::pair(deviceRunning, TrackCondition::running),
                                           {waitingForDevice, TrackCondition::waitingForDevice},
                                           {writeFailed, TrackCondition::writeFailed},
                                           {deviceRunning, TrackCondition::writeFailed},
                                           {waitingForDevice, TrackCondition::writeFailed},
                                           {fileWritten, TrackCondition::waitingForDevice},
                                           {deviceRunning, TrackCondition::running}}) {
        health.apply(AudioChannel::mic, event);
        EXPECT_EQ(health.condition(AudioChannel::mic), condition);
    }
    health.apply(AudioChannel::speaker, writeFailed);
    EXPECT_EQ(health.condition(AudioChannel::mic), TrackCondition::running);
    EXPECT_EQ(health.condition(AudioChannel::speaker), TrackCondition::writeFailed);
}

TEST(TrackHealth, RemembersWhatTheRecordingLacks) {
    TrackHealth health;
    health.apply(AudioChannel::mic, deviceRunning);
    EXPECT_THAT(health.messages(AudioChannel::mic), IsEmpty());
    for (const TrackHealthEvent event : {waitingForDevice, deviceRunning, waitingForDevice, deviceRunning}) {
        health.apply(AudioChannel::mic, event);
    }
    health.apply(AudioChannel::speaker, writeFailed);
    health.apply(AudioChannel::speaker, fileWritten);
    EXPECT_THAT(health.messages(AudioChannel::mic),
                ElementsAre("The microphone was not available for a time. Its track is silent there."));
    EXPECT_THAT(health.messages(AudioChannel::speaker), ElementsAre("Some of the system audio could not be saved."));
}

} // namespace
} // namespace talkledger
