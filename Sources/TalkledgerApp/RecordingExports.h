#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Support/Task.h"

#include <QObject>
#include <vector>

namespace talkledger {

/// Saves every recording's document as Markdown, aside, and tells how far that has come. Recordings without a
/// transcript have none; a document that cannot be written ends it and becomes the model's last error. Main thread.
class RecordingExports : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY changed)
    Q_PROPERTY(bool hasEnded READ hasEnded NOTIFY changed)
    Q_PROPERTY(int count READ count NOTIFY changed)
    Q_PROPERTY(int doneCount READ doneCount NOTIFY changed)
    Q_PROPERTY(int savedCount READ savedCount NOTIFY changed)

public:
    /// `model` and its ports have to outlive it.
    explicit RecordingExports(AppModel& model);

    bool isRunning() const { return state_ == State::running || state_ == State::cancelled; }

    /// What was saved is still to be told.
    bool hasEnded() const { return state_ == State::ended; }

    /// Of the recordings there are.
    int count() const { return count_; }

    int doneCount() const { return doneCount_; }

    int savedCount() const { return savedCount_; }

    /// Ignored while it runs.
    Q_INVOKABLE void begin();

    /// What is saved stays.
    Q_INVOKABLE void cancel();

    /// Nothing more is told of the last time.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void changed();

private:
    enum class State { idle, running, cancelled, ended };

    Task<void> saveAll(std::vector<RecordingSession> sessions);
    Task<void> saveEach(std::vector<RecordingSession> sessions);
    void setState(State state);

    AppModel& model_;
    State state_{State::idle};
    int count_{0};
    int doneCount_{0};
    int savedCount_{0};
};

} // namespace talkledger
