#include "TalkledgerCore/Capture/TrackHealth.h"

#include <gmock/gmock.h>

namespace talkledger {
namespace {

using enum TrackHealthEvent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TrackHealth, KeepsDeviceAndFileOfEachTrackApart) {
    TrackHealth health;
    const auto afterMicEvent = [&](TrackHealthEvent event) {
        health.apply(AudioChannel::mic, event);
        return health.condition(AudioChannel::mic);
    };
    EXPECT_EQ(afterMicEvent(deviceRunning), TrackCondition::running);
    EXPECT_EQ(afterMicEvent(waitingForDevice), TrackCondition::waitingForDevice);
    EXPECT_EQ(afterMicEvent(writeFailed), TrackCondition::writeFailed);
    // The device's return says nothing of the file, nor the file's recovery of the device.
    EXPECT_EQ(afterMicEvent(deviceRunning), TrackCondition::writeFailed);
    EXPECT_EQ(afterMicEvent(waitingForDevice), TrackCondition::writeFailed);
    EXPECT_EQ(afterMicEvent(fileWritten), TrackCondition::waitingForDevice);
    EXPECT_EQ(afterMicEvent(deviceRunning), TrackCondition::running);

    health.apply(AudioChannel::speaker, writeFailed);
    EXPECT_EQ(health.condition(AudioChannel::mic), TrackCondition::running);
    EXPECT_EQ(health.condition(AudioChannel::speaker), TrackCondition::writeFailed);
}

TEST(TrackHealth, RemembersWhatTheRecordingLacks) {
    TrackHealth health;
    health.apply(AudioChannel::mic, deviceRunning);
    health.apply(AudioChannel::mic, fileWritten);
    EXPECT_THAT(health.messages(AudioChannel::mic), IsEmpty());
    health.apply(AudioChannel::mic, waitingForDevice);
    health.apply(AudioChannel::mic, deviceRunning);
    health.apply(AudioChannel::mic, waitingForDevice);
    health.apply(AudioChannel::speaker, writeFailed);
    health.apply(AudioChannel::speaker, fileWritten);
    EXPECT_THAT(health.messages(AudioChannel::mic),
                ElementsAre("The microphone was not available for a time. Its track is silent there."));
    EXPECT_THAT(health.messages(AudioChannel::speaker), ElementsAre("Some of the system audio could not be saved."));
}

} // namespace
} // namespace talkledger
