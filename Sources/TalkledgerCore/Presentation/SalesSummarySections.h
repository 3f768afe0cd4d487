#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// A part of a summary as it is shown.
struct SalesSummarySection {
    std::string_view heading; ///< the key of its text
    std::vector<std::string> entries;
    bool isList{false}; ///< or a text

    bool operator==(const SalesSummarySection&) const = default;
};

/// What a summary has to say, in the order in which it is read; without what is blank.
std::vector<SalesSummarySection> salesSummarySections(const SalesSummary& summary, const AppCopy& copy);

} // namespace talkledger
