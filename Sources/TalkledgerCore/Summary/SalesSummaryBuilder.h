#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// A row of a keyword table: what is searched for, always in lower case, and what is reported when it is found.
struct KeywordPattern {
    std::string_view needle;
    std::string_view value;
};

/// Summarises a transcript without a language model, by fixed keywords and phrases in English and Japanese. The same
/// transcript always gives the same summary, in a time in proportion to its length. Overview and e-mail are in English.
/// Any thread may call it.
struct SalesSummaryBuilder {
    SalesSummary build(const TranscriptDocument& from) const;

    /// The values of the keywords found in the text, by their places. Of overlapping places the first one counts, or
    /// the longest where two begin together.
    static std::vector<std::string> orderedMatches(std::string_view text, std::span<const KeywordPattern> patterns);

    /// What the text says the issue is: one entry or none.
    static std::vector<std::string> painsFallback(std::string_view text);

    static std::vector<std::string> splitSentences(std::string_view text);

    /// Whether there are kana or common kanji.
    static bool containsJapanese(std::string_view text);

    /// The sentences in which the speaker promises something, each ended with a full stop.
    static std::vector<std::string> actionSentences(std::string_view text);

    /// Without a Japanese polite ending and without punctuation at both ends.
    static std::string cleanExtractedItem(std::string_view item);

    static std::string overviewSentence(const std::vector<std::string>& pains,
                                        const std::vector<std::string>& budgetSignals,
                                        const std::vector<std::string>& objections);

    static std::string followUpEmail(const std::vector<std::string>& actions, const std::vector<std::string>& pains,
                                     const std::vector<std::string>& objections);

    /// The first of those items that differ in letter case only.
    static std::vector<std::string> orderedUnique(const std::vector<std::string>& items);
};

} // namespace talkledger
