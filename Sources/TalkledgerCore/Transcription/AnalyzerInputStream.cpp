#include "TalkledgerCore/Transcription/AnalyzerInputStream.h"

#include <boost/asio/this_coro.hpp>

#include <utility>

namespace talkledger {

void AnalyzerInputStream::yield(AnalyzerInput input) {
    const std::lock_guard guard(lock_);
    if (isFinished_) {
        return;
    }
    inputs_.push_back(std::move(input));
    if (inputs_.size() > capacity) {
        inputs_.pop_front();
    }
    wakeReader();
}

void AnalyzerInputStream::finish() {
    const std::lock_guard guard(lock_);
    isFinished_ = true;
    wakeReader();
}

/// Under the lock, which a reader that gives up needs as well: so it is still there.
void AnalyzerInputStream::wakeReader() {
    if (reader_ != nullptr) {
        std::exchange(reader_, nullptr)->resume({});
    }
}

Task<std::optional<AnalyzerInput>> AnalyzerInputStream::next() {
    struct Waiting {
        AnalyzerInputStream& stream;

        explicit Waiting(AnalyzerInputStream& waitedFor) : stream(waitedFor) {}

        ~Waiting() {
            const std::lock_guard guard(stream.lock_);
            stream.reader_ = nullptr;
        }

        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;
    };

    Wakeup wakeup(co_await boost::asio::this_coro::executor);
    if (waitsFor(wakeup)) {
        const Waiting waiting(*this);
        co_await wakeup.wait();
    }
    co_return take();
}

/// Whether there is nothing to take yet.
bool AnalyzerInputStream::waitsFor(Wakeup& wakeup) {
    const std::lock_guard guard(lock_);
    if (!inputs_.empty() || isFinished_) {
        return false;
    }
    reader_ = &wakeup;
    return true;
}

std::optional<AnalyzerInput> AnalyzerInputStream::take() {
    const std::lock_guard guard(lock_);
    if (inputs_.empty()) {
        return std::nullopt;
    }
    AnalyzerInput input = std::move(inputs_.front());
    inputs_.pop_front();
    return input;
}

} // namespace talkledger
