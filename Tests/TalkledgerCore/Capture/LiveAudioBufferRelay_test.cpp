#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace talkledger {
namespace {

class Consumer final : public LiveAudioBufferConsuming {
public:
    std::function<void()> onAppend;
    std::atomic<int> bufferCount{0};

    void append(SharedAudioBuffer /*buffer*/) override {
        ++bufferCount;
        bufferCount.notify_all();
        if (onAppend) {
            onAppend();
        }
    }
};

const SharedAudioBuffer buffer = std::make_shared<const AudioBuffer>();

TEST(LiveAudioBufferRelay, DeliversToTheChannelsOneConsumerAndKeepsNoneAlive) {
    LiveAudioBufferRelay relay;
    auto earlierMic = std::make_shared<Consumer>();
    const auto mic = std::make_shared<Consumer>();
    const auto speaker = std::make_shared<Consumer>();
    relay.append(buffer, AudioChannel::speaker);
    relay.attach(earlierMic);
    EXPECT_EQ(earlierMic.use_count(), 1);
    earlierMic.reset();
    relay.append(buffer);
    relay.attach(mic);
    relay.attach(speaker, AudioChannel::speaker);
    relay.append(buffer);
    relay.append(buffer, AudioChannel::speaker);
    relay.detach(AudioChannel::mic);
    relay.append(buffer);
    relay.append(buffer, AudioChannel::speaker);
    relay.detach();
    relay.append(buffer, AudioChannel::speaker);
    EXPECT_EQ(mic->bufferCount, 1);
    EXPECT_EQ(speaker->bufferCount, 2);
}

TEST(LiveAudioBufferRelay, LetsAConsumerDetachItself) {
    LiveAudioBufferRelay relay;
    const auto consumer = std::make_shared<Consumer>();
    consumer->onAppend = [&] { relay.detach(AudioChannel::mic); };
    relay.attach(consumer);
    relay.append(buffer);
    relay.append(buffer);
    EXPECT_EQ(consumer->bufferCount, 1);
}

TEST(LiveAudioBufferRelay, MayBeReattachedWhileBothChannelsDeliver) {
    LiveAudioBufferRelay relay;
    std::atomic<bool> isOver{false};
    const auto deliver = [&](AudioChannel channel) {
        while (!isOver) {
            relay.append(buffer, channel);
        }
    };
    std::thread micThread(deliver, AudioChannel::mic);
    std::thread speakerThread(deliver, AudioChannel::speaker);
    for (int round = 0; round < 30; ++round) {
        const auto mic = std::make_shared<Consumer>();
        relay.attach(mic, AudioChannel::mic);
        relay.attach(std::make_shared<Consumer>(), AudioChannel::speaker);
        mic->bufferCount.wait(0);
        relay.detach();
    }
    isOver = true;
    micThread.join();
    speakerThread.join();
    const auto last = std::make_shared<Consumer>();
    relay.attach(last);
    relay.append(buffer);
    EXPECT_EQ(last->bufferCount, 1);
}

} // namespace
} // namespace talkledger
