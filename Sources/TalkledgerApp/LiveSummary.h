#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/LiveSummaryRefresher.h"
#include "TalkledgerCore/Support/Task.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace talkledger {

/// The summary of the recording in progress, made anew at intervals from what has been said so far. Main thread.
class LiveSummary : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString status READ statusName NOTIFY changed)
    Q_PROPERTY(QString updatedAt READ updateTime NOTIFY changed)
    Q_PROPERTY(QVariantList sections READ sections NOTIFY changed)
    Q_PROPERTY(bool isModelAvailable READ isModelAvailable NOTIFY changed)
    Q_PROPERTY(bool isEngineMissing READ isEngineMissing NOTIFY changed)

public:
    using Interval = std::chrono::duration<double>;
    using TranscriptSource = std::function<TranscriptDocument()>;

    static constexpr Interval interval{30};

    /// The model has to outlive it. `between` is the time before the first refresh and from one to the next.
    LiveSummary(SystemLanguageModel& model, Executor main, Interval between = interval);

    /// A recording has begun: its transcript is asked for at each refresh.
    void start(TranscriptSource transcript);

    /// The recording ends, and its summary is gone at once: a refresh that is under way changes nothing any more.
    void stop();

    LiveSummaryStatus status() const { return status_; }

    const std::optional<LiveSummarySnapshot>& snapshot() const { return snapshot_; }

    /// Whether there is a model that could write one.
    bool isModelAvailable() const { return model_.availability().isAvailable; }

    /// No model helps then.
    bool isEngineMissing() const { return model_.availability().lack == LanguageModelLack::engine; }

    /// The screens' forms of the above: the time of the day, and what is not empty of the summary, each section with
    /// the key of its heading.
    QString statusName() const;
    QString updateTime() const;
    QVariantList sections() const;

Q_SIGNALS:
    void changed();

private:
    struct Loop;

    Task<> run(std::shared_ptr<Loop> loop, std::shared_ptr<Loop> earlier);
    Task<> refreshUntilStopped(const Loop& loop);
    Task<> refresh(const Loop& loop);
    void setStatus(LiveSummaryStatus status);

    SystemLanguageModel& model_;
    Executor main_;
    Interval interval_;
    FoundationModelsSalesSummaryGenerator generator_;
    LiveSummaryRefresher refresher_;
    std::shared_ptr<Loop> loop_; ///< the last one, which may have ended
    LiveSummaryStatus status_{LiveSummaryStatus::idle};
    std::optional<LiveSummarySnapshot> snapshot_;
};

} // namespace talkledger
