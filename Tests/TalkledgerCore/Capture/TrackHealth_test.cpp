#include "TalkledgerCore/Capture/TrackHealth.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

using enum TrackHealthEvent;

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

} // namespace
} // namespace talkledger
