#include "TalkledgerApp/LiveSummary.h"

#include "TalkledgerApp/ScreenSummary.h"
#include "TalkledgerCore/Support/Continuation.h"
#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerCore/Support/TimerDuration.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <QDateTime>
#include <exception>
#include <utility>
#include <variant>
#include <vector>

namespace talkledger {
namespace {

/// Less speech than this is not worth a summary.
constexpr int minimumCharacterCount = 40;

} // namespace

struct LiveSummary::Loop {
    Loop(TranscriptSource source, const Executor& executor) : transcript(std::move(source)), ended(executor) {}

    TranscriptSource transcript;
    Continuation<std::monostate> ended;
    TaskHandle task;
    bool isStopped{false};
};

LiveSummary::LiveSummary(SystemLanguageModel& model, Executor main, Interval between)
    : model_(model),
      main_(std::move(main)),
      interval_(between),
      generator_(model, SummaryStage::live),
      refresher_(between.count(), minimumCharacterCount, generator_) {}

void LiveSummary::start(TranscriptSource transcript) {
    stop();
    const std::shared_ptr<Loop> earlier = loop_;
    loop_ = std::make_shared<Loop>(std::move(transcript), main_);
    loop_->task = startTask(main_, run(loop_, earlier));
}

void LiveSummary::stop() {
    if (loop_ && !loop_->isStopped) {
        loop_->isStopped = true;
        cancel(loop_->task);
    }
    snapshot_.reset();
    setStatus(LiveSummaryStatus::idle);
}

/// Begins when the earlier recording's loop has ended: a refresh of that one, coming late, would count as this
/// recording's own.
Task<> LiveSummary::run(std::shared_ptr<Loop> loop, std::shared_ptr<Loop> earlier) {
    if (earlier) {
        co_await boost::asio::this_coro::reset_cancellation_state(boost::asio::disable_cancellation());
        co_await earlier->ended.wait();
        co_await boost::asio::this_coro::reset_cancellation_state(boost::asio::enable_terminal_cancellation());
    }
    refresher_.reset();
    try {
        co_await refreshUntilStopped(*loop);
    } catch (const std::exception&) {
        // It was cancelled while it slept.
    }
    loop->ended.resume({});
}

QString LiveSummary::statusName() const {
    switch (status_) {
    case LiveSummaryStatus::idle:
        return QStringLiteral("idle");
    case LiveSummaryStatus::waitingForSpeech:
        return QStringLiteral("waitingForSpeech");
    case LiveSummaryStatus::generating:
        return QStringLiteral("generating");
    case LiveSummaryStatus::updated:
        return QStringLiteral("updated");
    case LiveSummaryStatus::failed:
        return QStringLiteral("failed");
    }
    return {};
}

QString LiveSummary::updateTime() const {
    if (!snapshot_) {
        return {};
    }
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(snapshot_->updatedAt.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).toString(QStringLiteral("HH:mm:ss"));
}

/// What a model writes has no fixed sentences to be translated.
QVariantList LiveSummary::sections() const {
    return snapshot_ ? screenSummary(snapshot_->summary, {DisplayLanguage::english}) : QVariantList();
}

Task<> LiveSummary::refreshUntilStopped(const Loop& loop) {
    boost::asio::steady_timer timer(main_);
    while (!loop.isStopped) {
        timer.expires_after(timerDuration(interval_));
        co_await timer.async_wait(boost::asio::use_awaitable);
        if (!loop.isStopped) {
            co_await refresh(loop);
        }
    }
}

Task<> LiveSummary::refresh(const Loop& loop) {
    const LiveSummaryStatus before = status_;
    setStatus(LiveSummaryStatus::generating);
    std::optional<LiveSummaryRefreshResult> result; // absent after a failure
    try {
        result = co_await refresher_.refresh(loop.transcript(), std::chrono::system_clock::now());
    } catch (const std::exception&) {
        result.reset();
    }
    if (loop.isStopped) {
        co_return;
    }
    if (!result) {
        setStatus(LiveSummaryStatus::failed);
    } else if (result->outcome == LiveSummaryRefreshResult::Case::updated) {
        snapshot_ = std::move(result->snapshot);
        setStatus(LiveSummaryStatus::updated);
    } else {
        const bool isWaiting = result->outcome == LiveSummaryRefreshResult::Case::waitingForSpeech;
        setStatus(isWaiting ? LiveSummaryStatus::waitingForSpeech : before);
    }
}

void LiveSummary::setStatus(LiveSummaryStatus status) {
    status_ = status;
    Q_EMIT changed();
}

} // namespace talkledger
