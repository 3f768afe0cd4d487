#include "TalkledgerCore/Support/Text.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/edits.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

namespace talkledger::text {

namespace {

void check(UErrorCode status, const char* operation) {
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("Unicode text cannot be handled (") + operation + ": " +
                                 u_errorName(status) + "). Reinstall the ICU library.");
    }
}

/// ICU counts in 32 bits.
std::int32_t icuLength(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        throw std::length_error("A text of more than 2 GiB cannot be handled.");
    }
    return static_cast<std::int32_t>(text.size());
}

/// Invalid bytes are U+FFFD.
char32_t nextScalar(const char* bytes, std::int32_t& position, std::int32_t length) {
    UChar32 scalar = 0;
    U8_NEXT_OR_FFFD(bytes, position, length, scalar);
    return static_cast<char32_t>(scalar);
}

std::uint32_t categoryMask(char32_t scalar) {
    return U_GET_GC_MASK(static_cast<UChar32>(scalar));
}

bool isValid(std::string_view text) {
    const std::int32_t length = icuLength(text);
    for (std::int32_t position = 0; position < length;) {
        UChar32 scalar = 0;
        U8_NEXT(text.data(), position, length, scalar);
        if (scalar < 0) {
            return false;
        }
    }
    return true;
}

/// Making a break iterator costs milliseconds, so that each thread keeps one.
icu::BreakIterator& threadCharacterIterator() {
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> created(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        check(status, "characters");
        return created;
    }();
    return *iterator;
}

/// The break iterator over a valid text; the text has to outlive it. One per thread at a time.
class CharacterIterator {
public:
    explicit CharacterIterator(std::string_view text) : iterator_(threadCharacterIterator()) {
        UErrorCode status = U_ZERO_ERROR;
        source_.reset(utext_openUTF8(&opened_, text.data(), icuLength(text), &status));
        check(status, "UTF-8");
        iterator_.setText(source_.get(), status);
        check(status, "characters");
    }

    icu::BreakIterator* operator->() { return &iterator_; }

private:
    UText opened_ = UTEXT_INITIALIZER;
    std::unique_ptr<UText, decltype(&utext_close)> source_{nullptr, &utext_close};
    icu::BreakIterator& iterator_;
};

/// Scalars that are a character each wherever they stand side by side: ASCII, kana, kanji and the forms that go with
/// them.
bool isPlain(char32_t scalar) {
    return scalar < 0x80 || (scalar >= U'\u3001' && scalar <= U'\u3029') ||
           (scalar >= U'\u309B' && scalar <= U'\u30FF') || (scalar >= U'\u3041' && scalar <= U'\u3096') ||
           (scalar >= U'\u4E00' && scalar <= U'\u9FFF') || (scalar >= U'\uFF01' && scalar <= U'\uFF9D');
}

/// Whether two scalars that stand side by side are known to be of two characters.
bool areSeparate(char32_t before, char32_t after) {
    const bool isLineBreak = before == U'\r' && after == U'\n';
    return isPlain(before) && isPlain(after) && !isLineBreak;
}

/// Calls `visit` with the end of each character of a valid text, until it returns false.
template <typename Visit>
bool forEachCharacterEndByIcu(std::string_view text, const Visit& visit) {
    CharacterIterator iterator(text);
    for (std::int32_t end = iterator->next(); end != icu::BreakIterator::DONE; end = iterator->next()) {
        if (!visit(static_cast<std::size_t>(end))) {
            return false;
        }
    }
    return true;
}

/// The same in a fraction of the time: ICU is asked only about what stands between plain scalars.
template <typename Visit>
void forEachCharacterEnd(std::string_view text, const Visit& visit) {
    const std::int32_t length = icuLength(text);
    for (std::int32_t next = 0; next < length;) {
        const auto begin = static_cast<std::size_t>(next);
        char32_t before = nextScalar(text.data(), next, length);
        const auto firstEnd = static_cast<std::size_t>(next);
        for (std::int32_t afterNext = next; next < length; next = afterNext) {
            const char32_t after = nextScalar(text.data(), afterNext, length);
            if (areSeparate(before, after)) {
                break;
            }
            before = after;
        }
        const auto end = static_cast<std::size_t>(next);
        const bool goesOn = end == firstEnd
                                ? visit(end)
                                : forEachCharacterEndByIcu(text.substr(begin, end - begin),
                                                           [&](std::size_t each) { return visit(begin + each); });
        if (!goesOn) {
            return;
        }
    }
}

/// Calls `visit` with each character of a valid text.
template <typename Visit>
void forEachCharacter(std::string_view text, const Visit& visit) {
    std::size_t begin = 0;
    forEachCharacterEnd(text, [&](std::size_t end) {
        visit(text.substr(begin, end - begin));
        begin = end;
        return true;
    });
}

/// No character of several scalars is part of such a set.
bool isOneOf(std::string_view character, std::string_view set) {
    return set.find(character) != std::string_view::npos;
}

std::string caseFolded(std::string_view text, std::uint32_t options, icu::Edits* edits) {
    std::string result;
    icu::StringByteSink<std::string> sink(&result, icuLength(text));
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8Fold(options, text, sink, edits, status);
    check(status, "case folding");
    return result;
}

std::uint32_t foldingOptions(const icu::Locale& locale) {
    const std::string_view language = locale.getLanguage();
    return language == "tr" || language == "az" ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT;
}

std::string searchableForm(std::string_view validText, icu::Edits* edits) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const form = icu::Normalizer2::getNFKCCasefoldInstance(status);
    check(status, "search");
    std::string result;
    icu::StringByteSink<std::string> sink(&result, icuLength(validText));
    form->normalizeUTF8(0, validText, sink, edits, status);
    check(status, "search");
    return result;
}

/// Widened to the whole characters that it touches; the character ends are those of the text.
Range wholeCharacters(const std::vector<std::size_t>& ends, Range range) {
    const auto firstEnd = std::upper_bound(ends.begin(), ends.end(), range.begin);
    const auto lastEnd = std::lower_bound(ends.begin(), ends.end(), range.end);
    return {.begin = firstEnd == ends.begin() ? 0 : *(firstEnd - 1),
            .end = lastEnd == ends.end() ? range.end : *lastEnd};
}

std::vector<Range> joined(std::vector<Range> ranges) {
    std::ranges::sort(ranges, {}, &Range::begin);
    std::vector<Range> result;
    for (const Range& range : ranges) {
        if (!result.empty() && range.begin < result.back().end) {
            result.back().end = std::max(result.back().end, range.end);
        } else {
            result.push_back(range);
        }
    }
    return result;
}

std::size_t prefixLength(std::string_view validText, std::size_t count) {
    std::size_t taken = 0;
    std::size_t length = 0;
    if (count > 0) {
        forEachCharacterEnd(validText, [&](std::size_t end) {
            length = end;
            return ++taken < count;
        });
    }
    return length;
}

} // namespace

bool isWhitespaceOrNewline(char32_t scalar) {
    return u_isUWhiteSpace(static_cast<UChar32>(scalar)) != 0;
}

bool isNewline(char32_t scalar) {
    return (scalar >= U'\n' && scalar <= U'\r') || scalar == U'\u0085' || scalar == U'\u2028' || scalar == U'\u2029';
}

bool isPunctuation(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_P_MASK) != 0;
}

bool isSymbol(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_S_MASK) != 0;
}

bool isControl(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_CC_MASK) != 0;
}

bool isDecimalDigit(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_ND_MASK) != 0;
}

std::string validated(std::string_view text) {
    return isValid(text) ? std::string(text) : fromScalars(scalars(text));
}

std::u32string scalars(std::string_view text) {
    std::u32string result;
    result.reserve(text.size());
    const std::int32_t length = icuLength(text);
    for (std::int32_t position = 0; position < length;) {
        result.push_back(nextScalar(text.data(), position, length));
    }
    return result;
}

std::string fromScalars(std::u32string_view scalars) {
    std::string result;
    result.reserve(scalars.size());
    for (const char32_t scalar : scalars) {
        const bool isScalar = scalar <= UCHAR_MAX_VALUE && !U_IS_SURROGATE(scalar);
        const auto valid = static_cast<UChar32>(isScalar ? scalar : U'\uFFFD');
        std::uint8_t bytes[U8_MAX_LENGTH];
        std::int32_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, valid);
        result.append(bytes, bytes + length);
    }
    return result;
}

std::string trimmed(std::string_view text) {
    const std::string valid = validated(text);
    std::int32_t begin = 0;
    std::int32_t end = icuLength(valid);
    for (std::int32_t next = begin; next < end; begin = next) {
        if (!isWhitespaceOrNewline(nextScalar(valid.data(), next, end))) {
            break;
        }
    }
    for (std::int32_t previous = end; previous > begin; end = previous) {
        UChar32 scalar = 0;
        U8_PREV(valid.data(), begin, previous, scalar);
        if (!isWhitespaceOrNewline(static_cast<char32_t>(scalar))) {
            break;
        }
    }
    return valid.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

std::string trimmed(std::string_view text, std::string_view unwanted) {
    const std::string valid = validated(text);
    std::size_t begin = 0;
    std::size_t end = 0;
    forEachCharacter(valid, [&](std::string_view character) {
        if (isOneOf(character, unwanted)) {
            return;
        }
        const auto position = static_cast<std::size_t>(character.data() - valid.data());
        if (end == 0) {
            begin = position;
        }
        end = position + character.size();
    });
    return valid.substr(begin, end - begin);
}

std::string lowercased(std::string_view text) {
    const std::string valid = validated(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result, icuLength(valid));
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToLower("", 0, valid, sink, nullptr, status);
    check(status, "lower case");
    return result;
}

std::string uppercased(std::string_view text) {
    const std::string valid = validated(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result, icuLength(valid));
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToUpper("", 0, valid, sink, nullptr, status);
    check(status, "upper case");
    return result;
}

bool containsIgnoringCase(std::string_view text, std::string_view phrase, const char* locale) {
    const std::uint32_t options = foldingOptions(locale != nullptr ? icu::Locale(locale) : icu::Locale::getDefault());
    const std::string folded = caseFolded(validated(text), options, nullptr);
    return folded.find(caseFolded(validated(phrase), options, nullptr)) != std::string::npos;
}

std::vector<std::string> characters(std::string_view text) {
    const std::string valid = validated(text);
    std::vector<std::string> result;
    forEachCharacter(valid, [&](std::string_view character) { result.emplace_back(character); });
    return result;
}

std::size_t characterCount(std::string_view text) {
    const std::string valid = validated(text);
    std::size_t count = 0;
    forEachCharacter(valid, [&](std::string_view) { ++count; });
    return count;
}

std::string prefix(std::string_view text, std::size_t count) {
    std::string valid = validated(text);
    valid.resize(prefixLength(valid, count));
    return valid;
}

std::string withoutPrefix(std::string_view text, std::size_t count) {
    const std::string valid = validated(text);
    return valid.substr(prefixLength(valid, count));
}

std::string suffix(std::string_view text, std::size_t count) {
    std::string valid = validated(text);
    // There are at most as many characters as bytes.
    if (valid.size() <= count) {
        return valid;
    }
    CharacterIterator iterator(valid);
    std::int32_t begin = iterator->last();
    for (std::size_t taken = 0; taken < count && begin > 0; ++taken) {
        begin = iterator->previous();
    }
    return valid.substr(static_cast<std::size_t>(begin));
}

std::string prefixBefore(std::string_view text, std::string_view ends) {
    std::string valid = validated(text);
    std::size_t length = 0;
    forEachCharacterEnd(valid, [&](std::size_t end) {
        if (isOneOf(std::string_view(valid).substr(length, end - length), ends)) {
            return false;
        }
        length = end;
        return true;
    });
    valid.resize(length);
    return valid;
}

std::vector<std::string> split(std::string_view text, std::string_view separators) {
    const std::string valid = validated(text);
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    const auto finishPiece = [&](std::size_t end) {
        if (end > begin) {
            pieces.push_back(valid.substr(begin, end - begin));
        }
    };
    forEachCharacter(valid, [&](std::string_view character) {
        if (isOneOf(character, separators)) {
            const auto position = static_cast<std::size_t>(character.data() - valid.data());
            finishPiece(position);
            begin = position + character.size();
        }
    });
    finishPiece(valid.size());
    return pieces;
}

CharacterOffsets::CharacterOffsets(std::string_view text) : text_(validated(text)) {}

std::size_t CharacterOffsets::ofByte(std::size_t byte) {
    if (ends_.empty()) {
        forEachCharacterEnd(text_, [this](std::size_t end) {
            ends_.push_back(end);
            return true;
        });
    }
    return static_cast<std::size_t>(std::upper_bound(ends_.begin(), ends_.end(), byte) - ends_.begin());
}

CaselessText::CaselessText(std::string_view text)
    : text_(validated(text)), folded_(caseFolded(text_, U_FOLD_CASE_DEFAULT, nullptr)) {}

std::optional<std::string> CaselessText::textAfter(std::string_view phrase) const {
    const std::size_t begin = folded_.find(phrase);
    if (begin == std::string::npos) {
        return std::nullopt;
    }
    icu::Edits edits;
    caseFolded(text_, U_FOLD_CASE_DEFAULT, &edits);
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t end = edits.getFineIterator().sourceIndexFromDestinationIndex(
        static_cast<std::int32_t>(begin + phrase.size()), status);
    check(status, "case folding");
    return text_.substr(static_cast<std::size_t>(end));
}

std::string searchable(std::string_view text) {
    return searchableForm(validated(text), nullptr);
}

std::vector<Range> occurrences(std::string_view searchableText, std::span<const std::string> phrases) {
    std::vector<Range> found;
    for (const std::string& phrase : phrases) {
        if (phrase.empty()) {
            continue;
        }
        for (std::size_t begin = searchableText.find(phrase); begin != std::string_view::npos;
             begin = searchableText.find(phrase, begin + phrase.size())) {
            found.push_back({.begin = begin, .end = begin + phrase.size()});
        }
    }
    return joined(std::move(found));
}

std::vector<Range> occurrencesInShown(std::string_view text, std::span<const std::string> phrases) {
    icu::Edits edits;
    std::vector<Range> found = occurrences(searchableForm(text, &edits), phrases);
    if (found.empty()) {
        return found;
    }
    std::vector<std::size_t> ends;
    forEachCharacterEnd(text, [&](std::size_t end) {
        ends.push_back(end);
        return true;
    });
    UErrorCode status = U_ZERO_ERROR;
    icu::Edits::Iterator places = edits.getFineIterator();
    // What the byte at that place of the searchable form was made of.
    const auto source = [&](std::size_t place) {
        const auto destination = static_cast<std::int32_t>(place);
        places.findDestinationIndex(destination, status);
        const std::int32_t begin = places.sourceIndex();
        const std::int32_t offset = destination - places.destinationIndex();
        return places.hasChange() ? Range{.begin = static_cast<std::size_t>(begin),
                                          .end = static_cast<std::size_t>(begin + places.oldLength())}
                                  : Range{.begin = static_cast<std::size_t>(begin + offset),
                                          .end = static_cast<std::size_t>(begin + offset + 1)};
    };
    for (Range& range : found) {
        range = wholeCharacters(ends, {.begin = source(range.begin).begin, .end = source(range.end - 1).end});
    }
    check(status, "search");
    return joined(std::move(found));
}

} // namespace talkledger::text
