#include "TalkledgerCore/Transcription/SpokenText.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

constexpr std::size_t bitsPerWord = 64;

/// Where in a text each of its characters stands: a row of bits per character.
class CharacterPositions {
public:
    explicit CharacterPositions(std::u32string_view text)
        : words_((text.size() + bitsPerWord - 1) / bitsPerWord), slots_(std::bit_ceil(2 * text.size() + 1)) {
        rows_.reserve((text.size() + 1) * words_);
        rows_.resize(words_); // of a character that the text does not have
        for (std::size_t position = 0; position < text.size(); ++position) {
            Slot& slot = slots_[slotOf(text[position])];
            if (slot.row == 0) {
                slot = {.character = text[position], .row = rows_.size()};
                rows_.resize(rows_.size() + words_);
            }
            rows_[slot.row + position / bitsPerWord] |= std::uint64_t{1} << position % bitsPerWord;
        }
    }

    std::size_t words() const { return words_; }

    const std::uint64_t* row(char32_t character) const { return &rows_[slots_[slotOf(character)].row]; }

private:
    struct Slot {
        char32_t character{0};
        std::size_t row{0}; ///< its offset in `rows_`; 0 for a slot that is free
    };

    /// That of the character, or the free one where it would be.
    std::size_t slotOf(char32_t character) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = character * std::size_t{0x9E3779B1} >> 7U & mask;
        while (slots_[slot].row != 0 && slots_[slot].character != character) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    std::size_t words_;
    std::vector<Slot> slots_;
    std::vector<std::uint64_t> rows_;
};

} // namespace

std::string normalizedText(std::string_view text) {
    std::u32string scalars = text::scalars(text::lowercased(text));
    std::erase_if(scalars, [](char32_t scalar) {
        return text::isWhitespaceOrNewline(scalar) || text::isPunctuation(scalar) || text::isSymbol(scalar);
    });
    return text::fromScalars(scalars);
}

std::u32string CharacterNumbering::numbers(std::string_view text) {
    constexpr char32_t firstBeyondScalars = 0x110000;
    std::u32string numbers;
    for (std::string& character : text::characters(text)) {
        const std::u32string scalars = text::scalars(character);
        const auto next = static_cast<char32_t>(firstBeyondScalars + numbersOfClusters_.size());
        numbers += scalars.size() == 1 ? scalars.front()
                                       : numbersOfClusters_.try_emplace(std::move(character), next).first->second;
    }
    return numbers;
}

SpokenText::SpokenText(std::string_view text, CharacterNumbering& numbering)
    : normalized(normalizedText(text)), characters(numbering.numbers(normalized)) {}

bool areSimilar(const SpokenText& first, const SpokenText& second, double threshold) {
    constexpr std::size_t fewestComparableCharacters = 4;
    if (first.normalized.empty() || second.normalized.empty()) {
        return 0 >= threshold;
    }
    if (first.normalized.find(second.normalized) != std::string::npos ||
        second.normalized.find(first.normalized) != std::string::npos) {
        return 1 >= threshold;
    }
    const auto [shorter, longer] = std::minmax({first.characters.size(), second.characters.size()});
    if (shorter < fewestComparableCharacters) {
        return 0 >= threshold;
    }
    const auto share = [longer = static_cast<double>(longer)](std::size_t count) {
        return static_cast<double>(count) / longer;
    };
    return share(shorter) >= threshold && // the most that they can have in common
           share(longestCommonSubsequenceLength(first.characters, second.characters)) >= threshold;
}

/// Each bit of `unmatched` stands for a character of the shorter text; one that has become 0 is one more in common.
/// Adding makes, in each run of ones, the lowest match the one that counts.
std::size_t longestCommonSubsequenceLength(std::u32string_view first, std::u32string_view second) {
    const std::u32string_view shorter = first.size() < second.size() ? first : second;
    const std::u32string_view longer = first.size() < second.size() ? second : first;
    const CharacterPositions positions(shorter);
    std::vector<std::uint64_t> unmatched(positions.words(), ~std::uint64_t{0});
    for (const char32_t character : longer) {
        const std::uint64_t* const row = positions.row(character);
        std::uint64_t carry = 0;
        for (std::size_t word = 0; word < unmatched.size(); ++word) {
            const std::uint64_t bits = unmatched[word];
            const std::uint64_t matches = bits & row[word];
            const std::uint64_t withCarry = bits + carry;
            const std::uint64_t sum = withCarry + matches;
            carry = withCarry < carry || sum < matches ? 1 : 0;
            unmatched[word] = sum | (bits & ~row[word]);
        }
    }
    std::size_t common = 0;
    for (const std::uint64_t bits : unmatched) {
        common += static_cast<std::size_t>(std::popcount(~bits));
    }
    return common;
}

} // namespace talkledger
