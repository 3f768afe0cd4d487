#include "TalkledgerPlatform/Speech/StreamFeed.h"

#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <optional>
#include <utility>

namespace talkledger {

StreamFeed::StreamFeed(const Executor& executor, std::int64_t request, Send send)
    : request_(request), send_(std::move(send)), consumed_(executor, 1) {}

Task<void> StreamFeed::run(std::shared_ptr<AnalyzerInputSequence> inputs) {
    for (auto input = co_await inputs->next(); input.has_value(); input = co_await inputs->next()) {
        if (input->buffer->format != liveAudioFormat) {
            throw WorkerError::failed("The speech recogniser was given audio in another format than agreed.");
        }
        StreamAudio audio{.start = input->bufferStartTime, .payload = input->buffer->samples};
        co_await waitForRoom(audio.sampleCount());
        audio.request = request_;
        unconsumed_ += static_cast<std::int64_t>(audio.sampleCount());
        send_(encodeMessage(audio));
    }
    hasFinished_ = true;
    send_(encodeMessage(FinishStream{.request = request_}));
}

/// A piece that is longer than all the room goes alone.
Task<void> StreamFeed::waitForRoom(std::size_t samples) {
    constexpr auto room = static_cast<std::int64_t>(StreamAudio::mostUnconsumed);
    while (unconsumed_ > 0 && unconsumed_ + static_cast<std::int64_t>(samples) > room) {
        co_await consumed_.async_receive(boost::asio::use_awaitable);
    }
}

void StreamFeed::noteConsumed(std::int64_t samples) {
    unconsumed_ = std::max<std::int64_t>(0, unconsumed_ - samples);
    consumed_.try_send(boost::system::error_code());
}

void StreamFeed::goOn(std::int64_t request, Send send) {
    request_ = request;
    send_ = std::move(send);
    unconsumed_ = 0;
    consumed_.try_send(boost::system::error_code());
}

} // namespace talkledger
