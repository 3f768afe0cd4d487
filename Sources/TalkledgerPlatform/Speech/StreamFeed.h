#pragma once

#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <boost/asio/experimental/channel.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace talkledger {

/// Live audio as the transcriber takes it.
constexpr AudioFormat liveAudioFormat{.commonFormat = AudioSampleFormat::int16,
                                      .sampleRate = StreamAudio::sampleRate,
                                      .channelCount = 1,
                                      .isInterleaved = true};

/// Carries live audio to a worker, no faster than it is worked through: what cannot go yet stays in the sequence, which
/// drops what becomes too old. Everything runs on one thread. For source files only, since its includes are heavy.
class StreamFeed {
public:
    /// Takes encoded messages.
    using Send = std::function<void(std::vector<std::byte>)>;

    StreamFeed(const Executor& executor, std::int64_t request, Send send);

    /// Runs until the sequence has ended, and says so to the worker. Throws `WorkerError` for audio of another format.
    Task<void> run(std::shared_ptr<AnalyzerInputSequence> inputs);

    void noteConsumed(std::int64_t samples);

    /// From now on the audio goes to another worker, of which nothing has been heard yet.
    void goOn(std::int64_t request, Send send);

    /// Nothing more comes.
    bool hasFinished() const { return hasFinished_; }

private:
    Task<void> waitForRoom(std::size_t samples);

    std::int64_t request_;
    Send send_;
    std::int64_t unconsumed_{0}; ///< samples
    bool hasFinished_{false};
    boost::asio::experimental::channel<void(boost::system::error_code)> consumed_;
};

} // namespace talkledger
