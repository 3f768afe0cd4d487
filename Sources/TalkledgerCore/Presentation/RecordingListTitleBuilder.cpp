#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace talkledger {

namespace {

/// Also before a line break at its end: a title from elsewhere may have one.
std::u32string_view withoutFinalLineBreak(std::u32string_view title) {
    if (title.ends_with(U"\r\n")) {
        title.remove_suffix(2);
    } else if (!title.empty() && text::isNewline(title.back())) {
        title.remove_suffix(1);
    }
    return title;
}

/// One of the prefixes, a blank and "yyyy-MM-dd HH:mm:ss", with the decimal digits of any script.
bool isGenerated(std::string_view title) {
    constexpr std::u32string_view shape = U" 0000-00-00 00:00:00";
    for (const std::string_view prefix : {"商談", "Sales call"}) {
        if (title.starts_with(prefix)) {
            const std::u32string scalars = text::scalars(title.substr(prefix.size()));
            const std::u32string_view dateTime = withoutFinalLineBreak(scalars);
            return std::equal(dateTime.begin(), dateTime.end(), shape.begin(), shape.end(),
                              [](char32_t scalar, char32_t expected) {
                                  return expected == U'0' ? text::isDecimalDigit(scalar) : scalar == expected;
                              });
        }
    }
    return false;
}

std::optional<std::string> usefulOverview(const std::string& overview) {
    const std::string trimmed = text::trimmed(overview);
    return trimmed.empty() || trimmed == SalesSummary::fallbackOverview ? std::nullopt : std::optional(trimmed);
}

std::optional<std::string> firstUseful(const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
        const std::string trimmed = text::trimmed(entry);
        if (!trimmed.empty()) {
            return trimmed;
        }
    }
    return std::nullopt;
}

std::optional<std::string> mostUsefulLine(const SalesSummary& summary) {
    if (auto overview = usefulOverview(summary.overview)) {
        return overview;
    }
    for (const auto* entries : {&summary.decisions, &summary.nextActions, &summary.unresolvedQuestions,
                                &summary.customerPains, &summary.objections, &summary.budgetSignals}) {
        if (auto entry = firstUseful(*entries)) {
            return entry;
        }
    }
    return std::nullopt;
}

std::string shortened(const std::string& title, int maxLength) {
    constexpr std::string_view ellipsis = "...";
    constexpr int leastMaxLength = 4;
    if (maxLength < leastMaxLength || text::characterCount(title) <= static_cast<std::size_t>(maxLength)) {
        return title;
    }
    return text::prefix(title, static_cast<std::size_t>(maxLength) - ellipsis.size()).append(ellipsis);
}

} // namespace

std::string RecordingListTitleBuilder::title(const RecordingSession& session,
                                             const std::optional<SalesSummary>& summary, const AppCopy& copy) const {
    std::string title = copy.sessionTitle(session.title);
    if (summary && isGenerated(session.title)) {
        title = mostUsefulLine(*summary).value_or(title);
    }
    return shortened(title, maxLength);
}

} // namespace talkledger
