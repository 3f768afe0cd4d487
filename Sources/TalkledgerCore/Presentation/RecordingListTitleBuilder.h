#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <optional>
#include <string>

namespace talkledger {

/// The title under which a recording is listed: a generated one tells nothing of the meeting and gives way to the most
/// useful line of the summary; one that the user has chosen always stays.
struct RecordingListTitleBuilder {
    static constexpr int sidebarMaxLength = 36;
    static constexpr int editorMaxLength = 10'000; ///< in effect no limit

    int maxLength{sidebarMaxLength}; ///< in characters; below 4 nothing is shortened

    std::string title(const RecordingSession& session, const std::optional<SalesSummary>& summary,
                      const AppCopy& copy) const;
};

} // namespace talkledger
