#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace talkledger {

/// Turns SIGTERM and SIGINT into a signal of the event loop, so that a recording can be finished. The first one asks; a
/// second one of the same kind ends the program at once. There is one of these in a process. Main thread.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested();

private:
    int pipe_[2]{-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace talkledger
