#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Unicode text in UTF-8. A character is a grapheme cluster, what a reader takes for one; a scalar is a code point.
/// Every function takes any bytes: what is no valid UTF-8 is read as U+FFFD. Any thread may call them.
namespace talkledger::text {

/// White space and line breaks: the separators of every kind, U+0009 to U+000D and U+0085.
bool isWhitespaceOrNewline(char32_t scalar);

/// A line break of any kind: U+000A to U+000D, U+0085, U+2028, U+2029.
bool isNewline(char32_t scalar);

/// The general categories P*, S*, Cc and Nd.
bool isPunctuation(char32_t scalar);
bool isSymbol(char32_t scalar);
bool isControl(char32_t scalar);
bool isDecimalDigit(char32_t scalar);

/// The same text in valid UTF-8.
std::string validated(std::string_view text);

std::u32string scalars(std::string_view text);
std::string fromScalars(std::u32string_view scalars);

/// Without white space and line breaks at both ends.
std::string trimmed(std::string_view text);

/// Without characters of the set `unwanted` at both ends.
std::string trimmed(std::string_view text, std::string_view unwanted);

/// Full Unicode lower-casing and upper-casing that depend on no language.
std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);

/// Whether the phrase stands in the text, whatever the case of both: as the language of `locale` has it (an I is no i
/// in "tr"), or the user's own when none is given.
bool containsIgnoringCase(std::string_view text, std::string_view phrase, const char* locale = nullptr);

std::vector<std::string> characters(std::string_view text);
std::size_t characterCount(std::string_view text);

/// The first `count` characters, or all of them.
std::string prefix(std::string_view text, std::size_t count);

/// What follows the first `count` characters.
std::string withoutPrefix(std::string_view text, std::size_t count);

/// The last `count` characters, or all of them. Takes no longer for a longer text, but to see that it is valid.
std::string suffix(std::string_view text, std::size_t count);

/// What stands before the first character of the set `ends`, or all of it.
std::string prefixBefore(std::string_view text, std::string_view ends);

/// The pieces between characters of the set `separators`, without empty ones.
std::vector<std::string> split(std::string_view text, std::string_view separators);

/// The offsets in characters of the bytes of a text, for those who search in bytes and count in characters. The
/// characters are looked for when the first offset is asked for.
class CharacterOffsets {
public:
    explicit CharacterOffsets(std::string_view text);

    /// How many whole characters end at or before this byte of the valid text.
    std::size_t ofByte(std::size_t byte);

private:
    std::string text_;
    std::vector<std::size_t> ends_;
};

/// A text in which phrases are found whatever their case, by Unicode's full case folding that depends on no language.
class CaselessText {
public:
    explicit CaselessText(std::string_view text);

    /// What follows the first place of a phrase, which has to be in lower case.
    std::optional<std::string> textAfter(std::string_view phrase) const;

private:
    std::string text_;
    std::string folded_;
};

/// Part of a text, in bytes.
struct Range {
    std::size_t begin{0};
    std::size_t end{0};

    bool operator==(const Range&) const = default;
};

/// The text as it is searched: letters of either case and characters of any width or composition are one.
std::string searchable(std::string_view text);

/// Where each of the searchable phrases stands in a searchable text, in order; what overlaps is one. Blank phrases
/// stand nowhere.
std::vector<Range> occurrences(std::string_view searchableText, std::span<const std::string> phrases);

/// The same places in the valid text itself, as whole characters.
std::vector<Range> occurrencesInShown(std::string_view text, std::span<const std::string> phrases);

} // namespace talkledger::text
