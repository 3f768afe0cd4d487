#include "TalkledgerCore/Capture/TrackSilence.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

TEST(TrackSilence, LastsUntilSomethingIsHeardOnThatTrack) {
    TrackSilence silence;
    const MonotonicTime begin;
    EXPECT_EQ(silence.duration(AudioChannel::mic), 0s);
    silence.hear(AudioChannel::speaker, 0, begin + 5s);
    silence.hear(AudioChannel::mic, TrackSilence::faintestSound / 2, begin + 5s);
    silence.hear(AudioChannel::mic, TrackSilence::faintestSound, begin + 15s);
    EXPECT_EQ(silence.duration(AudioChannel::speaker), 10s) << "the other track tells the time as well";
    EXPECT_EQ(silence.duration(AudioChannel::mic), 0s);
    silence.hear(AudioChannel::speaker, 0.1, begin + 30s);
    EXPECT_EQ(silence.duration(AudioChannel::speaker), 0s);
    EXPECT_EQ(silence.duration(AudioChannel::mic), 15s);
}

} // namespace
} // namespace talkledger
