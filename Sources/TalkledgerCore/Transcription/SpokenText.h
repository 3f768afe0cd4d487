#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

/// What two texts have in common as speech, whatever their punctuation and case.
namespace talkledger {

/// Lower-cased, without white space, punctuation and symbols.
std::string normalizedText(std::string_view text);

/// A number for each character, so that characters are compared as numbers: the scalar itself, or one beyond all
/// scalars for a character of several. Numbers of different numberings cannot be compared.
class CharacterNumbering {
public:
    std::u32string numbers(std::string_view text);

private:
    std::unordered_map<std::string, char32_t> numbersOfClusters_;
};

/// A text made ready for comparisons.
struct SpokenText {
    std::string normalized;
    std::u32string characters;

    SpokenText(std::string_view text, CharacterNumbering& numbering);
};

/// Whether the similarity of two texts is at least `threshold`. It is 1 when one contains the other, and otherwise the
/// share of the longer one's characters that the other has in the same order; it is 0 for an empty text and between
/// texts of which one is shorter than four characters.
bool areSimilar(const SpokenText& first, const SpokenText& second, double threshold);

/// Of two lists of characters. Takes a step per character of the longer one and 64 of the shorter one.
std::size_t longestCommonSubsequenceLength(std::u32string_view first, std::u32string_view second);

} // namespace talkledger
