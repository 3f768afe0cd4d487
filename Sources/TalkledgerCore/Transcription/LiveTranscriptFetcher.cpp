#include "TalkledgerCore/Transcription/LiveTranscriptFetcher.h"

#include "TalkledgerCore/Support/Continuation.h"
#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerCore/Support/TimerDuration.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <exception>
#include <functional>
#include <mutex>
#include <utility>

namespace talkledger {

namespace {

using FetchContinuation = Continuation<TranscriptDocument>;

/// Lets the first of the two tasks complete the fetch and cancels the other one.
class LiveTranscriptFetchRace {
public:
    void setTranscriptTask(TaskHandle task) { store(transcriptTask_, std::move(task)); }

    void setTimeoutTask(TaskHandle task) { store(timeoutTask_, std::move(task)); }

    /// `complete` is called for the first finisher only.
    void finish(const std::function<void()>& complete) {
        TaskHandle transcriptTask;
        TaskHandle timeoutTask;
        {
            const std::lock_guard guard(lock_);
            if (std::exchange(didFinish_, true)) {
                return;
            }
            transcriptTask = std::move(transcriptTask_);
            timeoutTask = std::move(timeoutTask_);
        }
        complete();
        cancel(transcriptTask);
        cancel(timeoutTask);
    }

private:
    void store(TaskHandle& place, TaskHandle task) {
        {
            const std::lock_guard guard(lock_);
            if (!didFinish_) {
                place = std::move(task);
                return;
            }
        }
        cancel(task);
    }

    std::mutex lock_;
    bool didFinish_{false};
    TaskHandle transcriptTask_;
    TaskHandle timeoutTask_;
};

struct Fetch {
    explicit Fetch(const Executor& executor) : continuation(executor) {}

    LiveTranscriptFetchRace race;
    FetchContinuation continuation;
};

Task<> fetchTranscript(std::shared_ptr<Fetch> fetch, RecordingSession session,
                       std::shared_ptr<TranscriptProvider> provider) {
    try {
        TranscriptDocument transcript = co_await provider->transcript(std::move(session));
        fetch->race.finish([&] { fetch->continuation.resume(std::move(transcript)); });
    } catch (const std::exception&) {
        const std::exception_ptr failure = std::current_exception();
        fetch->race.finish([&] { fetch->continuation.fail(failure); });
    }
}

Task<> failAfter(std::shared_ptr<Fetch> fetch, std::chrono::duration<double> timeout) {
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor, timerDuration(timeout));
    co_await timer.async_wait(boost::asio::use_awaitable);
    const auto timedOut = std::make_exception_ptr(LiveTranscriptFetchError(LiveTranscriptFetchError::Case::timedOut));
    fetch->race.finish([&] { fetch->continuation.fail(timedOut); });
}

} // namespace

LiveTranscriptFetchError::LiveTranscriptFetchError(Case failure)
    : std::runtime_error("The transcript was not ready in time."), failure_(failure) {}

Task<TranscriptDocument> LiveTranscriptFetcher::transcript(RecordingSession forSession,
                                                           std::shared_ptr<TranscriptProvider> provider) {
    const Executor executor = co_await boost::asio::this_coro::executor;
    const auto fetch = std::make_shared<Fetch>(executor);
    fetch->race.setTranscriptTask(
        startTask(executor, fetchTranscript(fetch, std::move(forSession), std::move(provider))));
    fetch->race.setTimeoutTask(startTask(executor, failAfter(fetch, timeout)));
    try {
        co_return co_await fetch->continuation.wait();
    } catch (...) {
        // The fetch itself may have been cancelled, and then neither task has finished the race.
        fetch->race.finish([] {});
        throw;
    }
}

} // namespace talkledger
