#include "TalkledgerCore/Summary/LiveSummaryRefresher.h"

#include "TalkledgerCore/Support/Text.h"

#include <chrono>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// What was said, trimmed and under its channel's role; blank segments are dropped.
TranscriptDocument normalizedSpeech(TranscriptDocument transcript) {
    for (TranscriptSegment& segment : transcript.segments) {
        segment.text = text::trimmed(segment.text);
        segment.role = structuralSpeakerRole(segment.channel);
    }
    std::erase_if(transcript.segments, [](const TranscriptSegment& segment) { return segment.text.empty(); });
    return transcript;
}

/// Tells transcripts apart, and is what the amount of speech is measured by.
std::string fingerprintOf(const TranscriptDocument& speech) {
    std::string fingerprint;
    for (const TranscriptSegment& segment : speech.segments) {
        fingerprint.append(fingerprint.empty() ? "" : " ").append(segment.text);
    }
    return fingerprint;
}

} // namespace

LiveSummaryRefreshResult LiveSummaryRefreshResult::updated(LiveSummarySnapshot snapshot) {
    return {.outcome = Case::updated, .snapshot = std::move(snapshot)};
}

LiveSummaryRefreshResult LiveSummaryRefreshResult::waitingForSpeech() {
    return {.outcome = Case::waitingForSpeech, .snapshot = {}};
}

LiveSummaryRefreshResult LiveSummaryRefreshResult::skipped() {
    return {.outcome = Case::skipped, .snapshot = {}};
}

LiveSummaryRefresher::LiveSummaryRefresher(double intervalSeconds, int minimumCharacterCount,
                                           SalesSummaryGenerating& summaryGenerator)
    : intervalSeconds_(intervalSeconds),
      minimumCharacterCount_(minimumCharacterCount),
      summaryGenerator_(summaryGenerator) {}

Task<LiveSummaryRefreshResult> LiveSummaryRefresher::refresh(TranscriptDocument transcript, Date now) {
    const TranscriptDocument speech = normalizedSpeech(std::move(transcript));
    const std::string fingerprint = fingerprintOf(speech);
    if (std::cmp_less(text::characterCount(fingerprint), minimumCharacterCount_)) {
        co_return LiveSummaryRefreshResult::waitingForSpeech();
    }
    if (!shouldRefresh(now, fingerprint)) {
        co_return LiveSummaryRefreshResult::skipped();
    }
    // Another text that is being summarised does not block this newer one.
    if (activeFingerprint_ == fingerprint) {
        co_return LiveSummaryRefreshResult::skipped();
    }
    activeFingerprint_ = fingerprint;
    LiveSummarySnapshot snapshot{.summary = {}, .updatedAt = now, .sourceSegmentCount = speech.segments.size()};
    try {
        snapshot.summary = co_await summaryGenerator_.summary(speech);
    } catch (...) {
        endActive(fingerprint);
        throw;
    }
    lastUpdatedAt_ = now;
    lastFingerprint_ = fingerprint;
    endActive(fingerprint);
    co_return LiveSummaryRefreshResult::updated(std::move(snapshot));
}

void LiveSummaryRefresher::reset() {
    lastUpdatedAt_.reset();
    lastFingerprint_.reset();
    activeFingerprint_.reset();
}

bool LiveSummaryRefresher::shouldRefresh(Date now, const std::string& fingerprint) const {
    if (lastFingerprint_ == fingerprint) {
        return false;
    }
    if (!lastUpdatedAt_) {
        return true;
    }
    return std::chrono::duration<double>(now - *lastUpdatedAt_).count() >= intervalSeconds_;
}

/// A newer request that has taken the place of this one keeps its mark.
void LiveSummaryRefresher::endActive(const std::string& fingerprint) {
    if (activeFingerprint_ == fingerprint) {
        activeFingerprint_.reset();
    }
}

} // namespace talkledger
