#include "TalkledgerCore/Capture/LiveTranscriptKeeper.h"

#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerCore/Support/TimerDuration.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <utility>

namespace talkledger {

struct LiveTranscriptKeeper::Kept {
    RecordingSession session;
    TranscriptSource transcript;
    TaskHandle waiting; ///< present from a change until it is written
};

LiveTranscriptKeeper::LiveTranscriptKeeper(RecordingStore& store, Executor main, const Executor& background,
                                           Interval between)
    : store_(store), main_(std::move(main)), writing_(boost::asio::make_strand(background)), interval_(between) {}

void LiveTranscriptKeeper::begin(RecordingSession session, TranscriptSource transcript) {
    end();
    kept_ = std::make_shared<Kept>(Kept{std::move(session), std::move(transcript), nullptr});
}

void LiveTranscriptKeeper::noteChange() {
    if (kept_ && !kept_->waiting) {
        kept_->waiting = startTask(main_, keepSoon(kept_));
    }
}

void LiveTranscriptKeeper::end() {
    if (kept_ && kept_->waiting) {
        cancel(kept_->waiting);
        write(*kept_);
    }
    kept_.reset();
}

/// A cancellation, which is a throw, ends it before it writes.
Task<> LiveTranscriptKeeper::keepSoon(std::shared_ptr<Kept> kept) {
    boost::asio::steady_timer timer(main_);
    timer.expires_after(timerDuration(interval_));
    co_await timer.async_wait(boost::asio::use_awaitable);
    if (kept == kept_) { // or `end` has written, just when the time was over
        kept->waiting.reset();
        write(*kept);
    }
}

void LiveTranscriptKeeper::write(const Kept& kept) {
    boost::asio::post(writing_, [store = &store_, session = kept.session, transcript = kept.transcript()] {
        try {
            store->saveLiveTranscript(transcript, session);
        } catch (const std::exception&) {
            // A full disk says so by the tracks' health.
        }
    });
}

} // namespace talkledger
