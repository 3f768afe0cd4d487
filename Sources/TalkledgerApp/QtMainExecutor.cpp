#include "TalkledgerApp/QtMainExecutor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

namespace talkledger {
namespace {

/// The context whose handler this thread is running.
thread_local const QtMainContext* runningContext = nullptr;

} // namespace

/// Receives one event for each burst of posts. A plain event is posted rather than a functor, and only Qt looks at it:
/// it carries nothing that would be shared between threads.
class QtMainContext::Drain final : public QObject {
public:
    explicit Drain(QtMainContext& context) : context_(context) {}

    void customEvent(QEvent* /*event*/) override { context_.runPending(); }

private:
    QtMainContext& context_;
};

QtMainContext::QtMainContext() : drain_(std::make_unique<Drain>(*this)) {}

QtMainContext::~QtMainContext() {
    close();
    shutdown(); // ends the timers' thread, which may still be posting
    destroy();
}

void QtMainContext::close() {
    std::vector<std::unique_ptr<Job>> unrun; // outlives the lock: a handler that is destroyed may post
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    unrun.swap(pending_);
}

void QtMainContext::post(std::unique_ptr<Job> job) {
    bool isFirstOfBurst = false;
    {
        const std::lock_guard lock(mutex_);
        if (!isClosed_) {
            isFirstOfBurst = pending_.empty();
            pending_.push_back(std::move(job));
        }
    }
    if (isFirstOfBurst) {
        QCoreApplication::postEvent(drain_.get(), std::make_unique<QEvent>(QEvent::User).release());
    }
}

bool QtMainContext::isRunningHandler() const {
    return runningContext == this;
}

void QtMainContext::runPending() noexcept {
    std::vector<std::unique_ptr<Job>> jobs;
    {
        const std::lock_guard lock(mutex_);
        jobs.swap(pending_);
    }
    const QtMainContext* const outer = std::exchange(runningContext, this);
    for (std::unique_ptr<Job>& job : jobs) {
        job->run();
        job.reset();
    }
    runningContext = outer;
}

} // namespace talkledger
