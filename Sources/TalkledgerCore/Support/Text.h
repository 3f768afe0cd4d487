#pragma once

#include <cstddef>
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

/// Full Unicode lower-casing that depends on no language.
std::string lowercased(std::string_view text);

std::vector<std::string> characters(std::string_view text);
std::size_t characterCount(std::string_view text);

/// The first `count` characters, or all of them.
std::string prefix(std::string_view text, std::size_t count);

} // namespace talkledger::text
