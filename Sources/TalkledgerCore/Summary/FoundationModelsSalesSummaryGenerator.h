#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"
#include "TalkledgerCore/Support/Task.h"

#include <stdexcept>
#include <string>

namespace talkledger {

/// The language model cannot be used; `reason` says why.
class FoundationSummaryGeneratorError : public std::runtime_error {
public:
    enum class Case { unavailable };

    static FoundationSummaryGeneratorError unavailable(std::string reason);

    Case failure() const { return failure_; }

    const std::string& reason() const { return reason_; }

    bool operator==(const FoundationSummaryGeneratorError& other) const {
        return failure_ == other.failure_ && reason_ == other.reason_;
    }

private:
    FoundationSummaryGeneratorError(Case failure, std::string reason);

    Case failure_;
    std::string reason_;
};

/// Whether the meeting still goes on, so that another summary soon replaces this one.
enum class SummaryStage { live, final };

/// Summarises a transcript with the on-device language model. Each request has a session of its own, so several may be
/// under way. The model has to outlive it.
class FoundationModelsSalesSummaryGenerator final : public SalesSummaryGenerating {
public:
    explicit FoundationModelsSalesSummaryGenerator(SystemLanguageModel& model,
                                                   SummaryStage stage = SummaryStage::final);

    /// A transcript without any text gives an empty summary, model or not. Throws `FoundationSummaryGeneratorError`
    /// and the session's errors; an answer that is not as asked is a `JsonError`.
    Task<SalesSummary> summary(TranscriptDocument forTranscript) override;

    /// What the model is asked: its head, and the end of the transcript. Empty when there is nothing to summarise.
    static std::string prompt(const TranscriptDocument& forTranscript);

    /// "minutes:seconds" with the minutes beyond 59 too.
    static std::string timestamp(double startTime);

private:
    SystemLanguageModel& model_;
    SummaryStage stage_;
};

} // namespace talkledger
