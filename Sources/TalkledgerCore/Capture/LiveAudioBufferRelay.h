#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <map>
#include <memory>
#include <mutex>

namespace talkledger {

/// Receives the live audio of one channel.
class LiveAudioBufferConsuming {
public:
    virtual ~LiveAudioBufferConsuming() = default;

    /// Called on the capture's delivery thread; must not block it.
    virtual void append(SharedAudioBuffer buffer) = 0;
};

/// An entry of the relay, which keeps no consumer alive.
struct WeakLiveAudioBufferConsumer {
    std::weak_ptr<LiveAudioBufferConsuming> consumer;
};

/// The switchboard between the capture tracks and whoever listens live: one consumer for each channel. Every operation
/// may be called from any thread; a consumer is called outside the lock, so that a slow one holds up nobody else.
class LiveAudioBufferRelay {
public:
    LiveAudioBufferRelay() = default;
    LiveAudioBufferRelay(const LiveAudioBufferRelay&) = delete;
    LiveAudioBufferRelay& operator=(const LiveAudioBufferRelay&) = delete;
    ~LiveAudioBufferRelay() = default;

    /// Takes the place of the channel's earlier consumer.
    void attach(const std::shared_ptr<LiveAudioBufferConsuming>& consumer, AudioChannel channel = AudioChannel::mic);
    void detach(AudioChannel channel);
    void detach();

    /// Does nothing when the channel has no consumer, or has one that is gone.
    void append(SharedAudioBuffer buffer, AudioChannel from = AudioChannel::mic);

private:
    std::mutex lock_;
    std::map<AudioChannel, WeakLiveAudioBufferConsumer> consumers_;
};

} // namespace talkledger
