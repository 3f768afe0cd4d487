// The functions over spoken text, with arbitrary bytes for what was said: nothing crashes, what comes out is valid
// UTF-8, and each keeps its promise. A function gets a check of its own in the table at the end.

#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"
#include "TalkledgerCore/Support/Text.h"
#include "TalkledgerCore/Transcription/LiveConversation.h"
#include "TalkledgerCore/Transcription/SpokenText.h"

#include <algorithm>
#include <cstddef>
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

/// A line a segment; its first bytes are the channel, in upper case for a partial one, and the start time.
TranscriptDocument transcript(std::string_view bytes) {
    TranscriptDocument document;
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
        const char first = line.empty() ? ' ' : line.front();
        const AudioChannel channel = first == 'm' || first == 'M' ? AudioChannel::mic : AudioChannel::speaker;
        const bool isPartial = first == 'M' || first == 'S';
        double start = 0;
        if (line.size() > sizeof start) {
            std::memcpy(&start, line.data() + 1, sizeof start);
        }
        document.segments.emplace_back(channel, structuralSpeakerRole(channel), start, 1,
                                       std::string(line.substr(std::min<std::size_t>(line.size(), 1))),
                                       isPartial ? TranscriptSegmentStatus::partial : TranscriptSegmentStatus::final);
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

void checkSpokenTexts(std::string_view bytes) {
    const std::string normalized = normalizedText(bytes);
    requireValid(normalized);
    require(normalizedText(normalized) == normalized, "a normalised text is none to normalise");
    SpeechAlphabet alphabet;
    const SpokenText text = alphabet.read(bytes);
    require(text::fromScalars(text.scalars()) == normalized, "an alphabet reads what normalising leaves");
    require(text.characters().size() == text::characterCount(normalized), "each character has a number");
    require(longestCommonSubsequenceLength(text.characters(), text.characters()) == text.characters().size(),
            "a text has all of itself in common with itself");
    const SpokenText half = alphabet.read(text::prefix(bytes, text::characterCount(bytes) / 2));
    const std::size_t common = longestCommonSubsequenceLength(text.characters(), half.characters());
    require(common <= text.mostInCommon(half) && common <= half.characters().size(), "the bounds hold");
}

void checkLines(std::string_view bytes) {
    LiveConversation conversation;
    std::vector<TranscriptTimelineLine> lines;
    for (const TranscriptSegment& segment : transcript(bytes).segments) {
        for (const TranscriptLineChange& change : conversation.apply(segment)) {
            const auto row = lines.begin() + static_cast<std::ptrdiff_t>(change.row);
            switch (change.kind) {
            case TranscriptLineChange::Kind::inserted:
                lines.insert(row, change.line);
                break;
            case TranscriptLineChange::Kind::replaced:
                *row = change.line;
                break;
            case TranscriptLineChange::Kind::removed:
                lines.erase(row);
                break;
            }
        }
    }
    const TranscriptDocument separated =
        recordingSourceSeparator.suppressMicrophoneEchoes(conversation.state().liveTranscript());
    const std::vector<TranscriptTimelineLine> expected = TranscriptTimelineBuilder().buildLines(separated);
    require(conversation.lines() == expected, "the live lines are those of the whole transcript");
    require(lines.size() == expected.size(), "the changes lead to them");
    for (std::size_t row = 0; row < lines.size(); ++row) {
        require(lines[row].text == expected[row].text, "the changes lead to them");
        requireValid(lines[row].text);
    }
}

constexpr void (*checks[])(std::string_view) = {checkCharacters, checkSentences,   checkMatches, checkSummary,
                                                checkPrompt,     checkSpokenTexts, checkLines};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    for (const auto check : checks) {
        check({reinterpret_cast<const char*>(bytes), size});
    }
    return 0;
}
