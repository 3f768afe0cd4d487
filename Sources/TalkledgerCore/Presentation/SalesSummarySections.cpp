#include "TalkledgerCore/Presentation/SalesSummarySections.h"

#include "TalkledgerCore/Support/Text.h"

#include <utility>

namespace talkledger {

std::vector<SalesSummarySection> salesSummarySections(const SalesSummary& summary, const AppCopy& copy) {
    const std::pair<std::string_view, const std::vector<std::string>*> lists[] = {
        {"decisions", &summary.decisions},
        {"nextActions", &summary.nextActions},
        {"unresolvedQuestions", &summary.unresolvedQuestions},
        {"customerPains", &summary.customerPains},
        {"budgetSignals", &summary.budgetSignals},
        {"objections", &summary.objections},
    };
    std::vector<SalesSummarySection> sections;
    const auto add = [&](std::string_view heading, const std::vector<std::string>& entries, bool isList) {
        SalesSummarySection section{.heading = heading, .entries = {}, .isList = isList};
        for (const std::string& entry : entries) {
            if (std::string trimmed = text::trimmed(entry); !trimmed.empty()) {
                section.entries.push_back(std::move(trimmed));
            }
        }
        if (!section.entries.empty()) {
            sections.push_back(std::move(section));
        }
    };
    add("overview", {copy.summaryOverview(summary.overview)}, false);
    for (const auto& [heading, entries] : lists) {
        add(heading, *entries, true);
    }
    return sections;
}

} // namespace talkledger
