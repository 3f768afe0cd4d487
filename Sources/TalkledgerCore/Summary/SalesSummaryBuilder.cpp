#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <unordered_set>
#include <utility>

namespace talkledger {

namespace {

// Phrases are tried in the order of their table, so that a longer one comes before the one that it contains.
constexpr std::string_view decisionPhrases[] = {
    "we decided to ", "i decided to ", "the decision is ", "decision is ", "we agreed to ",
    "決定事項として", "決定事項は",    "決定したのは",     "合意したのは",
};

constexpr std::string_view questionPhrases[] = {
    "the open question is ", "open question is ", "unresolved question is ", "question is ", "未解決の問いは",
    "未解決の質問は",        "確認事項は",
};

constexpr KeywordPattern painKeywords[] = {
    {"manual reporting", "manual reporting"},
    {"current issue", "current issue"},
    {"problem", "problem"},
    {"pain", "pain"},
};

constexpr KeywordPattern budgetKeywords[] = {
    {"budget approved for june", "budget approved for June"},
    {"budget is approved", "budget is approved"},
    {"budget approved", "budget approved"},
};

constexpr KeywordPattern objectionKeywords[] = {
    {"security review", "security review"},
    {"salesforce integration", "Salesforce integration"},
    {"concern", "concern"},
};

constexpr std::string_view sentenceSeparators = ".!?。！？";
constexpr std::string_view japaneseActionMarker = "アクションアイテムとして";

/// Offsets in characters of the lower-cased text; `end` is exclusive.
struct Match {
    std::size_t start;
    std::size_t end;
    std::string_view value;

    bool overlaps(const Match& other) const { return start < other.end && other.start < end; }
};

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string result;
    for (const std::string& part : parts) {
        result.append(&part == &parts.front() ? "" : separator).append(part);
    }
    return result;
}

std::string spokenText(const TranscriptDocument& document, SpeakerRole role) {
    std::vector<std::string> texts;
    for (const TranscriptSegment& segment : document.segments) {
        if (segment.role == role) {
            texts.push_back(segment.text);
        }
    }
    return joined(texts, " ");
}

std::vector<std::string> customerPains(std::string_view customerText) {
    const std::vector<std::string> fallback = SalesSummaryBuilder::painsFallback(customerText);
    std::vector<std::string> pains = SalesSummaryBuilder::orderedMatches(customerText, painKeywords);
    if (!fallback.empty()) {
        std::erase(pains, "current issue");
    }
    return pains.empty() ? fallback : pains;
}

std::vector<std::string> customerObjections(std::string_view customerText) {
    std::vector<std::string> objections = SalesSummaryBuilder::orderedMatches(customerText, objectionKeywords);
    if (text::containsIgnoringCase(customerText, "security review")) {
        std::erase(objections, "concern");
    }
    return objections;
}

std::vector<std::string> decisionCriteria(std::vector<std::string> objections) {
    std::replace(objections.begin(), objections.end(), std::string("security review"),
                 std::string("security approval"));
    return SalesSummaryBuilder::orderedUnique(objections);
}

std::vector<text::CaselessText> caselessSentences(std::string_view text) {
    const std::vector<std::string> sentences = SalesSummaryBuilder::splitSentences(text);
    return {sentences.begin(), sentences.end()};
}

/// What follows the first phrase of the table that occurs in the sentence.
std::optional<std::string> textAfterPhrase(const text::CaselessText& sentence,
                                           std::span<const std::string_view> phrases) {
    for (const std::string_view phrase : phrases) {
        if (std::optional<std::string> rest = sentence.textAfter(phrase)) {
            return rest;
        }
    }
    return std::nullopt;
}

std::vector<std::string> extractedItems(const std::vector<text::CaselessText>& sentences,
                                        std::span<const std::string_view> phrases) {
    std::vector<std::string> items;
    for (const text::CaselessText& sentence : sentences) {
        if (const std::optional<std::string> rest = textAfterPhrase(sentence, phrases)) {
            std::string item = SalesSummaryBuilder::cleanExtractedItem(*rest);
            if (!item.empty()) {
                items.push_back(std::move(item));
            }
        }
    }
    return SalesSummaryBuilder::orderedUnique(items);
}

bool isActionSentence(const std::string& sentence) {
    const std::string lowered = text::lowercased(sentence);
    return lowered.find("i will ") != std::string::npos || lowered.find("we will ") != std::string::npos ||
           sentence.find(japaneseActionMarker) != std::string::npos;
}

/// The letters of these markers have no other case forms than the ASCII ones.
void removeLeadingMarker(std::string& sentence, std::string_view loweredMarker) {
    if (text::lowercased(sentence.substr(0, loweredMarker.size())) == loweredMarker) {
        sentence.erase(0, loweredMarker.size());
    }
}

std::string actionText(std::string sentence) {
    removeLeadingMarker(sentence, "i will ");
    removeLeadingMarker(sentence, "we will ");
    if (sentence.starts_with(japaneseActionMarker)) {
        sentence.erase(0, japaneseActionMarker.size());
    }
    std::string action = text::trimmed(sentence);
    if (SalesSummaryBuilder::containsJapanese(action)) {
        return action.ends_with("。") ? action : action + "。";
    }
    action = text::uppercased(text::prefix(action, 1)) + text::withoutPrefix(action, 1);
    return action.ends_with(".") ? action : action + ".";
}

void removeEnding(std::string& item, std::string_view ending) {
    if (item.ends_with(ending)) {
        item.erase(item.size() - ending.size());
    }
}

void removeEach(std::string& text, std::string_view unwanted) {
    for (auto place = text.find(unwanted); place != std::string::npos; place = text.find(unwanted, place)) {
        text.erase(place, unwanted.size());
    }
}

} // namespace

SalesSummary SalesSummaryBuilder::build(const TranscriptDocument& from) const {
    const std::string customerText = spokenText(from, SpeakerRole::customer);
    const std::string ownText = spokenText(from, SpeakerRole::me);
    SalesSummary summary;
    summary.customerPains = customerPains(customerText);
    summary.budgetSignals = orderedMatches(customerText, budgetKeywords);
    summary.objections = customerObjections(customerText);
    summary.decisionCriteria = decisionCriteria(summary.objections);
    summary.nextActions = actionSentences(ownText);
    const std::vector<text::CaselessText> sentences = caselessSentences(customerText + " " + ownText);
    summary.decisions = extractedItems(sentences, decisionPhrases);
    summary.unresolvedQuestions = extractedItems(sentences, questionPhrases);
    summary.overview = overviewSentence(summary.customerPains, summary.budgetSignals, summary.objections);
    summary.followUpEmailDraft = followUpEmail(summary.nextActions, summary.customerPains, summary.objections);
    return summary;
}

std::vector<std::string> SalesSummaryBuilder::orderedMatches(std::string_view text,
                                                             std::span<const KeywordPattern> patterns) {
    const std::string lowered = text::lowercased(text);
    text::CharacterOffsets offsets(lowered);
    std::vector<Match> matches;
    for (const KeywordPattern& pattern : patterns) {
        const std::size_t found = lowered.find(pattern.needle);
        if (found != std::string::npos) {
            matches.push_back({.start = offsets.ofByte(found),
                               .end = offsets.ofByte(found + pattern.needle.size()),
                               .value = pattern.value});
        }
    }
    std::stable_sort(matches.begin(), matches.end(), [](const Match& first, const Match& second) {
        return first.start != second.start ? first.start < second.start : first.end > second.end;
    });

    std::vector<Match> accepted;
    std::vector<std::string> values;
    for (const Match& candidate : matches) {
        if (std::none_of(accepted.begin(), accepted.end(),
                         [&](const Match& earlier) { return earlier.overlaps(candidate); })) {
            accepted.push_back(candidate);
            values.emplace_back(candidate.value);
        }
    }
    return orderedUnique(values);
}

std::vector<std::string> SalesSummaryBuilder::painsFallback(std::string_view text) {
    constexpr std::string_view introduction = "issue is ";
    const std::string lowered = text::lowercased(text);
    const std::size_t found = lowered.find(introduction);
    if (found == std::string::npos) {
        return {};
    }
    // Lower-casing may change a text's bytes, but not the number of its characters.
    const std::size_t position = text::CharacterOffsets(lowered).ofByte(found + introduction.size());
    const std::string issue = text::trimmed(text::prefixBefore(text::withoutPrefix(text, position), ".!?"));
    return issue.empty() ? std::vector<std::string>() : std::vector{issue};
}

std::vector<std::string> SalesSummaryBuilder::splitSentences(std::string_view text) {
    std::vector<std::string> sentences;
    for (const std::string& piece : text::split(text, sentenceSeparators)) {
        std::string sentence = text::trimmed(piece);
        if (!sentence.empty()) {
            sentences.push_back(std::move(sentence));
        }
    }
    return sentences;
}

bool SalesSummaryBuilder::containsJapanese(std::string_view text) {
    const std::u32string scalars = text::scalars(text);
    return std::any_of(scalars.begin(), scalars.end(), [](char32_t scalar) {
        return (scalar >= U'\u3040' && scalar <= U'\u30FF') || (scalar >= U'\u4E00' && scalar <= U'\u9FFF');
    });
}

std::vector<std::string> SalesSummaryBuilder::actionSentences(std::string_view text) {
    std::vector<std::string> actions;
    for (std::string& sentence : splitSentences(text)) {
        if (isActionSentence(sentence)) {
            actions.push_back(actionText(std::move(sentence)));
        }
    }
    return actions;
}

std::string SalesSummaryBuilder::cleanExtractedItem(std::string_view item) {
    std::string cleaned = text::trimmed(item);
    if (!containsJapanese(cleaned)) {
        return text::trimmed(cleaned, ".!? ");
    }
    removeEnding(cleaned, "です");
    removeEnding(cleaned, "ます");
    return text::trimmed(cleaned, "。.!?！？ ");
}

std::string SalesSummaryBuilder::overviewSentence(const std::vector<std::string>& pains,
                                                  const std::vector<std::string>& budgetSignals,
                                                  const std::vector<std::string>& objections) {
    std::vector<std::string> items = pains;
    for (std::string signal : budgetSignals) {
        removeEach(signal, "budget approved for ");
        items.push_back(signal + " budget");
    }
    items.insert(items.end(), objections.begin(), objections.end());

    if (items.empty()) {
        return "Customer discussion captured for review.";
    }
    const std::string last = items.back();
    items.pop_back();
    return "Customer discussed " + (items.empty() ? "" : joined(items, ", ") + ", and ") + last + ".";
}

std::string SalesSummaryBuilder::followUpEmail(const std::vector<std::string>& actions,
                                               const std::vector<std::string>& pains,
                                               const std::vector<std::string>& objections) {
    std::vector<std::string> lines{"Thanks for the call."};
    if (!pains.empty()) {
        lines.push_back("I understand the priority around " + joined(pains, ", ") + ".");
    }
    if (!objections.empty()) {
        lines.push_back("I will address " + joined(objections, ", ") + ".");
    }
    if (!actions.empty()) {
        lines.push_back(joined(actions, " "));
    }
    return joined(lines, " ");
}

std::vector<std::string> SalesSummaryBuilder::orderedUnique(const std::vector<std::string>& items) {
    std::unordered_set<std::string> seen;
    std::vector<std::string> unique;
    for (const std::string& item : items) {
        if (seen.insert(text::lowercased(item)).second) {
            unique.push_back(item);
        }
    }
    return unique;
}

} // namespace talkledger
