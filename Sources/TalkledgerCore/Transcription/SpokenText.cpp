#include "TalkledgerCore/Transcription/SpokenText.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// Forms of scalars that are none of their own: nothing is known yet; the text is without it; it depends on the
/// neighbours or is several scalars in lower case.
constexpr char32_t unknownForm = 0;
constexpr char32_t noForm = 0x110000;
constexpr char32_t dependentForm = 0x110001;

constexpr char32_t firstClusterNumber = 0x110000;

bool isSpoken(char32_t scalar) {
    return !text::isWhitespaceOrNewline(scalar) && !text::isPunctuation(scalar) && !text::isSymbol(scalar);
}

/// Whether it is one between any others of which this is true.
bool isCharacterByItself(char32_t scalar) {
    return text::characterCount(text::fromScalars(std::u32string{U'a', scalar, scalar, U'a'})) == 4;
}

char32_t newForm(char32_t scalar) {
    constexpr char32_t sigma = U'\u03A3'; // in lower case another one at the end of a word
    const std::u32string lowered = text::scalars(text::lowercased(text::fromScalars({&scalar, 1})));
    if (scalar == unknownForm || scalar == sigma || lowered.size() != 1) {
        return dependentForm;
    }
    if (!isSpoken(lowered.front())) {
        return noForm;
    }
    return isCharacterByItself(lowered.front()) ? lowered.front() : dependentForm;
}

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

    const std::uint64_t* row(char32_t character) const { return rows_.data() + slots_[slotOf(character)].row; }

private:
    struct Slot {
        char32_t character{0};
        std::size_t row{0}; ///< its offset in `rows_`; 0 for a slot that is free
    };

    /// That of the character, or the free one where it would be. The product spreads neighbouring numbers.
    std::size_t slotOf(char32_t character) const {
        constexpr std::size_t spread = 0x9E3779B1;
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = character * spread >> 7U & mask;
        while (slots_[slot].row != 0 && slots_[slot].character != character) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    std::size_t words_;
    std::vector<Slot> slots_;
    std::vector<std::uint64_t> rows_;
};

/// Each bit of `unmatched` stands for a character of the shorter text; one that has become 0 is one more in common.
/// Adding makes, in each run of ones, the lowest match the one that counts.
std::size_t commonLengthByBits(std::u32string_view shorter, std::u32string_view longer) {
    if (shorter.empty()) {
        return 0;
    }
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

} // namespace

std::string normalizedText(std::string_view text) {
    std::u32string scalars = text::scalars(text::lowercased(text));
    std::erase_if(scalars, [](char32_t scalar) { return !isSpoken(scalar); });
    return text::fromScalars(scalars);
}

SpokenText::SpokenText(std::u32string scalars, std::u32string numbers)
    : scalars_(std::move(scalars)), numbers_(std::move(numbers)) {
    for (const char32_t character : characters()) {
        std::uint8_t& count = counts_[character % counts_.size()];
        count = std::max<std::uint8_t>(count, static_cast<std::uint8_t>(count + 1));
    }
}

std::size_t SpokenText::mostInCommon(const SpokenText& other) const {
    constexpr std::size_t greatest = std::numeric_limits<std::uint8_t>::max();
    const std::size_t shorter = std::min(characters().size(), other.characters().size());
    if (shorter >= greatest) {
        return shorter;
    }
    std::size_t common = 0;
    for (std::size_t kind = 0; kind < counts_.size(); ++kind) {
        common += std::min(counts_[kind], other.counts_[kind]);
    }
    return common;
}

SpokenText SpeechAlphabet::read(std::string_view text) {
    forms_.resize(text.size()); // there are at most as many scalars as bytes
    const std::optional<std::size_t> count = readForms(text);
    return count ? SpokenText(forms_.substr(0, *count), {}) : readClusters(text);
}

/// Absent when the text cannot be read scalar by scalar.
std::optional<std::size_t> SpeechAlphabet::readForms(std::string_view text) {
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    std::size_t count = 0;
    const auto append = [&](char32_t scalar) {
        const char32_t form = formOf(scalar);
        forms_[count] = form;
        count += form == noForm ? 0 : 1;
        return form != dependentForm;
    };
    for (auto byte = text.begin(); byte != text.end();) {
        if (isAscii(*byte)) {
            if (!append(static_cast<unsigned char>(*byte++))) {
                return std::nullopt;
            }
            continue;
        }
        const auto end = std::find_if(byte, text.end(), isAscii);
        const std::u32string scalars = text::scalars({byte, end});
        if (!std::all_of(scalars.begin(), scalars.end(), append)) {
            return std::nullopt;
        }
        byte = end;
    }
    return count;
}

char32_t SpeechAlphabet::formOf(char32_t scalar) {
    const std::unique_ptr<Page>& page = pages_[scalar / std::tuple_size_v<Page>];
    const char32_t form = page ? (*page)[scalar % std::tuple_size_v<Page>] : unknownForm;
    return form == unknownForm ? learn(scalar) : form;
}

char32_t SpeechAlphabet::learn(char32_t scalar) {
    std::unique_ptr<Page>& page = pages_[scalar / std::tuple_size_v<Page>];
    if (!page) {
        page = std::make_unique<Page>();
    }
    return (*page)[scalar % std::tuple_size_v<Page>] = newForm(scalar);
}

SpokenText SpeechAlphabet::readClusters(std::string_view text) {
    const std::string normalized = normalizedText(text);
    std::u32string numbers;
    for (std::string& character : text::characters(normalized)) {
        const std::u32string scalars = text::scalars(character);
        const auto next = static_cast<char32_t>(firstClusterNumber + numbersOfClusters_.size());
        numbers += scalars.size() == 1 ? scalars.front()
                                       : numbersOfClusters_.try_emplace(std::move(character), next).first->second;
    }
    return {text::scalars(normalized), std::move(numbers)};
}

bool areSimilar(const SpokenText& first, const SpokenText& second, double threshold) {
    constexpr std::size_t fewestComparableCharacters = 4;
    if (first.scalars().size() > second.scalars().size()) {
        return areSimilar(second, first, threshold);
    }
    if (first.scalars().empty()) {
        return 0 >= threshold;
    }
    if (second.scalars().find(first.scalars()) != std::u32string_view::npos) {
        return 1 >= threshold;
    }
    const auto [shorter, longer] = std::minmax({first.characters().size(), second.characters().size()});
    if (shorter < fewestComparableCharacters) {
        return 0 >= threshold;
    }
    const auto share = [longer = static_cast<double>(longer)](std::size_t count) {
        return static_cast<double>(count) / longer;
    };
    return share(first.mostInCommon(second)) >= threshold &&
           share(longestCommonSubsequenceLength(first.characters(), second.characters())) >= threshold;
}

std::size_t longestCommonSubsequenceLength(std::u32string_view first, std::u32string_view second) {
    if (first.size() > second.size()) {
        return longestCommonSubsequenceLength(second, first);
    }
    const auto begin = std::mismatch(first.begin(), first.end(), second.begin()).first;
    const auto same = static_cast<std::size_t>(begin - first.begin());
    first.remove_prefix(same);
    second.remove_prefix(same);
    const auto end = std::mismatch(first.rbegin(), first.rend(), second.rbegin()).first;
    const auto sameAtEnd = static_cast<std::size_t>(end - first.rbegin());
    first.remove_suffix(sameAtEnd);
    second.remove_suffix(sameAtEnd);
    return same + commonLengthByBits(first, second) + sameAtEnd;
}

} // namespace talkledger
