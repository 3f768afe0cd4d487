#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"

#include <utility>

namespace talkledger {

void LiveAudioBufferRelay::attach(const std::shared_ptr<LiveAudioBufferConsuming>& consumer, AudioChannel channel) {
    const std::lock_guard guard(lock_);
    consumers_.insert_or_assign(channel, WeakLiveAudioBufferConsumer{consumer});
}

void LiveAudioBufferRelay::detach(AudioChannel channel) {
    const std::lock_guard guard(lock_);
    consumers_.erase(channel);
}

void LiveAudioBufferRelay::detach() {
    const std::lock_guard guard(lock_);
    consumers_.clear();
}

void LiveAudioBufferRelay::append(SharedAudioBuffer buffer, AudioChannel from) {
    std::shared_ptr<LiveAudioBufferConsuming> consumer;
    {
        const std::lock_guard guard(lock_);
        const auto entry = consumers_.find(from);
        if (entry == consumers_.end()) {
            return;
        }
        consumer = entry->second.consumer.lock();
    }
    if (consumer) {
        consumer->append(std::move(buffer));
    }
}

} // namespace talkledger
