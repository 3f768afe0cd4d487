// The functions over spoken text, with arbitrary bytes for what was said: nothing crashes, what comes out is valid
// UTF-8, and each keeps its promise. A function gets a check of its own in the table at the end.

#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"
#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace talkledger;

void require(bool isKept, const char* promise) {
    if (!isKept) {
        std::cerr << "Not kept: " << promise << '\n';
        std::abort();
    }
}

void requireValid(const std::string& text) {
    require(text == text::validated(text), "what comes out is valid UTF-8");
}

/// A line a segment; its first bytes are the channel and the start time.
TranscriptDocument transcript(std::string_view bytes) {
    TranscriptDocument document;
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
        const AudioChannel channel = line.starts_with('m') ? AudioChannel::mic : AudioChannel::speaker;
        double start = 0;
        if (line.size() > sizeof start) {
            std::memcpy(&start, line.data() + 1, sizeof start);
        }
        document.segments.emplace_back(channel, structuralSpeakerRole(channel), start, 1,
                                       std::string(line.substr(std::min<std::size_t>(line.size(), 1))),
                                       TranscriptSegmentStatus::final);
    }
    return document;
}

void checkCharacters(std::string_view bytes) {
    const std::string valid = text::validated(bytes);
    const std::vector<std::string> characters = text::characters(bytes);
    const std::size_t half = characters.size() / 2;
    const std::string begin = text::prefix(bytes, half);
    require(text::characterCount(begin) == half, "a prefix has its number of characters");
    require(begin + text::withoutPrefix(bytes, half) == valid, "a prefix and the rest are the text");
    require(begin + text::suffix(bytes, characters.size() - half) == valid, "a suffix is what its prefix leaves");
    require(text::CharacterOffsets(valid).ofByte(valid.size()) == characters.size(), "all characters are numbered");
    requireValid(text::lowercased(bytes));
    requireValid(text::uppercased(bytes));
    requireValid(text::trimmed(bytes));
    requireValid(text::trimmed(bytes, ".。 "));
}

void checkSentences(std::string_view bytes) {
    const std::string valid = text::validated(bytes);
    std::size_t place = 0;
    for (const std::string& sentence : SalesSummaryBuilder::splitSentences(bytes)) {
        require(!sentence.empty() && sentence == text::trimmed(sentence), "a sentence is trimmed and not blank");
        require(SalesSummaryBuilder::splitSentences(sentence) == std::vector{sentence}, "a sentence is a whole one");
        place = valid.find(sentence, place);
        require(place != std::string::npos, "sentences stand in the text in their order");
        place += sentence.size();
    }
    for (const std::string& action : SalesSummaryBuilder::actionSentences(bytes)) {
        require(action.ends_with(".") || action.ends_with("。"), "an action ends with a full stop");
        requireValid(action);
    }
    requireValid(SalesSummaryBuilder::cleanExtractedItem(bytes));
}

void checkMatches(std::string_view bytes) {
    constexpr KeywordPattern patterns[] = {{"a", "a"}, {"ab", "ab"}, {"b", "b"}, {"issue is ", "issue is "}};
    const std::string lowered = text::lowercased(bytes);
    const std::vector<std::string> matches = SalesSummaryBuilder::orderedMatches(bytes, patterns);
    for (const std::string& match : matches) {
        require(lowered.find(match) != std::string::npos, "a match stands in the text");
    }
    for (const KeywordPattern& pattern : patterns) {
        require(!matches.empty() || lowered.find(pattern.needle) == std::string::npos, "what stands there is found");
    }
    const std::vector<std::string> pains = SalesSummaryBuilder::painsFallback(bytes);
    require(pains.empty() || lowered.find("issue is ") != std::string::npos, "a pain was introduced");
    for (const std::string& pain : pains) {
        require(!pain.empty() && text::prefixBefore(pain, ".!?") == pain, "a pain ends with its sentence");
        requireValid(pain);
    }
    const text::CaselessText caseless(bytes);
    require(caseless.textAfter("issue is ").has_value() == text::containsIgnoringCase(bytes, "ISSUE is ", "en"),
            "a phrase is found where it is contained");
}

void checkSummary(std::string_view bytes) {
    TranscriptDocument document = transcript(bytes);
    const SalesSummary summary = SalesSummaryBuilder().build(document);
    requireValid(summary.overview);
    requireValid(summary.followUpEmailDraft);
    for (TranscriptSegment& segment : document.segments) {
        segment.text = text::validated(segment.text);
    }
    require(SalesSummaryBuilder().build(document) == summary, "invalid bytes count as what replaces them");
}

void checkPrompt(std::string_view bytes) {
    constexpr std::size_t headBytes = 492;
    constexpr std::size_t mostCharacters = 12'000;
    const TranscriptDocument document = transcript(bytes);
    const std::string prompt = FoundationModelsSalesSummaryGenerator::prompt(document);
    bool isBlank = true;
    for (const TranscriptSegment& segment : document.segments) {
        isBlank = isBlank && text::trimmed(segment.text).empty();
    }
    require(prompt.empty() == isBlank, "only blank speech needs no prompt");
    if (!isBlank) {
        requireValid(prompt);
        require(prompt.substr(0, headBytes).ends_with("文字起こし:\n"), "the head is whole");
        require(text::characterCount(prompt.substr(headBytes)) <= mostCharacters, "the prompt is bounded");
    }
}

constexpr void (*checks[])(std::string_view) = {checkCharacters, checkSentences, checkMatches, checkSummary,
                                                checkPrompt};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    for (const auto check : checks) {
        check({reinterpret_cast<const char*>(bytes), size});
    }
    return 0;
}
