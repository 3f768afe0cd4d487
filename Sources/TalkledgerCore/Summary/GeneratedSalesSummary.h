#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Support/Json.h"

#include <string>
#include <vector>

namespace talkledger {

/// A summary as the language model answers it, before it is cleaned.
struct GeneratedSalesSummary {
    std::string overview;
    std::vector<std::string> decisions;
    std::vector<std::string> customerPains;
    std::vector<std::string> decisionCriteria;
    std::vector<std::string> budgetSignals;
    std::vector<std::string> objections;
    std::vector<std::string> nextActions;
    std::vector<std::string> unresolvedQuestions;
    std::string followUpEmailDraft;

    /// What the model is told to fill in: the fields above, in their order.
    static GenerationSchema generationSchema();

    SalesSummary salesSummary() const;

    /// Entries without white space at both ends; blank ones are dropped.
    static std::vector<std::string> cleanList(const std::vector<std::string>& entries);
};

/// Every field is required.
template <>
GeneratedSalesSummary fromJson(const JsonReader& reader);

} // namespace talkledger
