#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Task.h"

namespace talkledger {

/// Turns a transcript into its summary. Called on the main executor; failures are exceptions whose text the user may
/// read.
class SalesSummaryGenerating {
public:
    SalesSummaryGenerating() = default;
    SalesSummaryGenerating(const SalesSummaryGenerating&) = delete;
    SalesSummaryGenerating& operator=(const SalesSummaryGenerating&) = delete;
    virtual ~SalesSummaryGenerating() = default;

    virtual Task<SalesSummary> summary(TranscriptDocument forTranscript) = 0;
};

} // namespace talkledger
