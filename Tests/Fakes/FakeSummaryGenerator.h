#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"

namespace talkledger::testing {

class FakeSummaryGenerator final : public SalesSummaryGenerating {
public:
    explicit FakeSummaryGenerator(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    SalesSummary result;
    std::optional<std::string> failure;
    Gate answering;
    std::optional<TranscriptDocument> transcript; ///< the last one asked about

    Task<SalesSummary> summary(TranscriptDocument forTranscript) override {
        log.add("summarize");
        transcript = std::move(forTranscript);
        co_await answering.pass();
        throwIfSet(failure);
        co_return result;
    }
};

} // namespace talkledger::testing
