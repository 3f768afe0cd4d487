#pragma once

#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"
#include "TalkledgerWorkers/Transcriber/EngineShelf.h"
#include "TalkledgerWorkers/Transcriber/FileTranscription.h"
#include "TalkledgerWorkers/Transcriber/StreamClock.h"

#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <stop_token>

namespace talkledger {

/// One live stream from its beginning to its end, told to `report` like a file: that it is listened to, results, and at
/// last whether it finished or failed; and each piece of audio as consumed. A stop request ends its results. Used by
/// one thread at a time; blocks while the engine works.
class LiveTranscription {
public:
    LiveTranscription(StartStream request, EngineShelf& engines, std::stop_token stop,
                      TranscriberMessageHandler report);

    void start();
    void append(const StreamAudio& audio);
    void finish();

private:
    /// The engine may tell on a thread of its own.
    struct Clock {
        std::mutex mutex;
        StreamClock stream;
    };

    double secondsMissing(double time) const;
    void resume(double time);
    void attempt(const std::function<void()>& step);
    void end(const MessageFromTranscriber& message);
    void hear(std::span<const std::int16_t> samples);
    void tell(const SpeechSegment& segment) const;

    StartStream request_;
    EngineShelf& engines_;
    std::stop_token stop_;
    TranscriberMessageHandler report_;
    std::unique_ptr<Clock> clock_{std::make_unique<Clock>()};
    std::unique_ptr<EngineShelf::Loan> engine_;
    bool hasEnded_{false};
};

} // namespace talkledger
