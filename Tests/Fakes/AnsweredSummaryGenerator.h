#pragma once

#include "Fakes/Gate.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"

#include <memory>
#include <utility>
#include <vector>

namespace talkledger::testing {

/// A generator whose requests the test answers one by one, in any order.
class AnsweredSummaryGenerator final : public SalesSummaryGenerating {
public:
    /// Every transcript asked about, in order.
    std::vector<TranscriptDocument> transcripts;

    Task<SalesSummary> summary(TranscriptDocument forTranscript) override {
        Request& request = *requests_.emplace_back(std::make_unique<Request>());
        transcripts.push_back(std::move(forTranscript));
        request.answered.close();
        co_await request.answered.pass();
        throwIfSet(request.failure);
        co_return request.result;
    }

    void answer(std::size_t index, SalesSummary result) {
        requests_.at(index)->result = std::move(result);
        requests_.at(index)->answered.open();
    }

    void fail(std::size_t index, std::string description) {
        requests_.at(index)->failure = std::move(description);
        requests_.at(index)->answered.open();
    }

private:
    struct Request {
        Gate answered;
        SalesSummary result;
        std::optional<std::string> failure;
    };

    std::vector<std::unique_ptr<Request>> requests_;
};

} // namespace talkledger::testing
