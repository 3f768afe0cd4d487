#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/// What two texts have in common as speech, whatever their punctuation and case.
namespace talkledger {

/// Lower-cased, without white space, punctuation and symbols.
std::string normalizedText(std::string_view text);

/// A text made ready for comparisons. Its characters are numbers: the scalar itself, or one beyond all scalars for a
/// character of several. Only texts of the same alphabet can be compared.
class SpokenText {
public:
    std::u32string_view scalars() const { return scalars_; }

    std::u32string_view characters() const { return numbers_.empty() ? scalars_ : numbers_; }

    /// No less than their longest common subsequence.
    std::size_t mostInCommon(const SpokenText& other) const;

private:
    friend class SpeechAlphabet;

    /// How many characters a text has of each kind; a kind is some of all characters.
    using Counts = std::array<std::uint8_t, 64>;

    SpokenText(std::u32string scalars, std::u32string numbers);

    std::u32string scalars_; ///< of the normalised text
    std::u32string numbers_; ///< of its characters; empty when each scalar is one
    Counts counts_{};        ///< up to the greatest number that fits
};

/// Makes texts ready for comparisons with each other, and learns from each what makes the next one quick.
class SpeechAlphabet {
public:
    SpokenText read(std::string_view text);

private:
    /// What becomes of each of 256 scalars.
    using Page = std::array<char32_t, 256>;

    std::optional<std::size_t> readForms(std::string_view text);
    char32_t formOf(char32_t scalar);
    char32_t learn(char32_t scalar);
    SpokenText readClusters(std::string_view text);

    std::array<std::unique_ptr<Page>, 0x1100> pages_;
    std::unordered_map<std::string, char32_t> numbersOfClusters_;
    std::u32string forms_; ///< of the text that is being read
};

/// Whether the similarity of two texts is at least `threshold`. It is 1 when one contains the other, and otherwise the
/// share of the longer one's characters that the other has in the same order; it is 0 for an empty text and between
/// texts of which one is shorter than four characters.
bool areSimilar(const SpokenText& first, const SpokenText& second, double threshold);

/// Of two lists of characters. Where they differ, it takes a step per character of the longer one and 64 of the shorter
/// one.
std::size_t longestCommonSubsequenceLength(std::u32string_view first, std::u32string_view second);

} // namespace talkledger
