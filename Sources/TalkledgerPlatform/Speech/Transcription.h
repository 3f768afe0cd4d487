#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <boost/asio/experimental/concurrent_channel.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace talkledger {

using TranscriptionEvent = std::variant<TranscriptionResult, TranscriptionProgress>;

/// What the transcriber's client and whoever asked for a transcription share of it. The client's thread puts in what
/// the worker tells; the coroutines that wait resume on their own executor. For source files only, since its includes
/// are heavy.
class Transcription {
public:
    explicit Transcription(std::shared_ptr<boost::asio::io_context> context);

    // For whoever asked, on one thread:

    /// Returns when the file could be opened or the stream is listened to. Throws `WorkerError`.
    Task<void> started();

    /// The next event; absent after the last one, and at once after `cancel`. Throws `WorkerError` in the end when the
    /// transcription failed. Cancelling this operation cancels the transcription.
    Task<std::optional<TranscriptionEvent>> next();

    /// Returns when `next` has delivered the end. Throws `WorkerError` as `next` does.
    Task<void> delivered();

    /// Nothing is delivered any more.
    void cancel() noexcept;

    bool isCancelled() const { return isCancelled_; }

    // For the client, on its thread:

    void tellStarted();
    void tell(TranscriptionEvent event);
    void tellFinished();
    void tellFailed(const WorkerError& error);

private:
    template <typename... Values>
    using Channel = boost::asio::experimental::concurrent_channel<void(boost::system::error_code, Values...)>;

    /// Carries no values: waiting for it is waiting until it is closed.
    using Gate = Channel<>;

    static Task<void> wait(Gate& gate);
    void throwFailure();

    std::shared_ptr<boost::asio::io_context> context_; ///< the channels live in it
    Gate started_;
    Gate delivered_;
    Channel<TranscriptionEvent> events_;

    /// No exception object: one that two threads share is shared down to its reference count inside the C++ library,
    /// which the thread sanitizer cannot see.
    struct Failure {
        WorkerError::Case failure;
        std::string description;
    };

    std::mutex lock_; ///< guards `failure_`
    std::optional<Failure> failure_;
    std::atomic<bool> isCancelled_{false};
    bool hasEnded_{false}; ///< `next` has delivered the end
};

} // namespace talkledger
