#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"
#include "TalkledgerCore/Support/Task.h"

#include <cstddef>
#include <optional>
#include <string>

namespace talkledger {

/// How the summary of the running recording stands, as the user sees it.
enum class LiveSummaryStatus { idle, waitingForSpeech, generating, updated, failed };

struct LiveSummarySnapshot {
    SalesSummary summary;
    Date updatedAt;
    std::size_t sourceSegmentCount{0}; ///< how many segments the summary was made from

    bool operator==(const LiveSummarySnapshot&) const = default;
};

struct LiveSummaryRefreshResult {
    enum class Case { updated, waitingForSpeech, skipped };

    Case outcome{Case::skipped};
    std::optional<LiveSummarySnapshot> snapshot; ///< of `updated` only

    static LiveSummaryRefreshResult updated(LiveSummarySnapshot snapshot);
    static LiveSummaryRefreshResult waitingForSpeech();
    static LiveSummaryRefreshResult skipped();

    bool operator==(const LiveSummaryRefreshResult&) const = default;
};

/// Stands before the summary generator while a recording runs: asks it at most once per interval, never twice for the
/// same text, and not before enough was said. Never reads the clock. All operations are called on the main executor;
/// several refreshes may wait for the generator at the same time.
class LiveSummaryRefresher {
public:
    /// The least time between two summaries, and the least characters of speech before the first one. The generator
    /// has to outlive the refresher.
    LiveSummaryRefresher(double intervalSeconds, int minimumCharacterCount, SalesSummaryGenerating& summaryGenerator);

    LiveSummaryRefresher(const LiveSummaryRefresher&) = delete;
    LiveSummaryRefresher& operator=(const LiveSummaryRefresher&) = delete;
    ~LiveSummaryRefresher() = default;

    /// Throws what the generator throws; the same text may then be tried again at once.
    Task<LiveSummaryRefreshResult> refresh(TranscriptDocument transcript, Date now);

    /// Forgets the last summary. A refresh that is under way goes on and counts as the last one when it succeeds.
    void reset();

private:
    bool shouldRefresh(Date now, const std::string& fingerprint) const;
    void endActive(const std::string& fingerprint);

    double intervalSeconds_;
    int minimumCharacterCount_;
    SalesSummaryGenerating& summaryGenerator_;
    std::optional<Date> lastUpdatedAt_;
    std::optional<std::string> lastFingerprint_;   ///< of the transcript of the last successful summary
    std::optional<std::string> activeFingerprint_; ///< of the newest request under way
};

} // namespace talkledger
