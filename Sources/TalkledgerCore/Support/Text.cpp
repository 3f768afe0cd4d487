#include "TalkledgerCore/Support/Text.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

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

/// Calls `visit` with the end of each character of a valid text, until it returns false.
template <typename Visit>
void forEachCharacterEnd(std::string_view text, const Visit& visit) {
    UErrorCode status = U_ZERO_ERROR;
    UText opened = UTEXT_INITIALIZER;
    const std::unique_ptr<UText, decltype(&utext_close)> source(
        utext_openUTF8(&opened, text.data(), icuLength(text), &status), &utext_close);
    check(status, "UTF-8");
    icu::BreakIterator& iterator = threadCharacterIterator();
    iterator.setText(source.get(), status);
    check(status, "characters");
    std::int32_t end = iterator.next();
    while (end != icu::BreakIterator::DONE && visit(static_cast<std::size_t>(end))) {
        end = iterator.next();
    }
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
    const std::int32_t length = icuLength(valid);
    std::int32_t begin = 0;
    std::int32_t end = 0;
    bool started = false;
    for (std::int32_t position = 0; position < length;) {
        const std::int32_t scalarBegin = position;
        if (isWhitespaceOrNewline(nextScalar(valid.data(), position, length))) {
            continue;
        }
        if (!started) {
            begin = scalarBegin;
            started = true;
        }
        end = position;
    }
    return valid.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
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

std::vector<std::string> characters(std::string_view text) {
    const std::string valid = validated(text);
    std::vector<std::string> result;
    std::size_t begin = 0;
    forEachCharacterEnd(valid, [&](std::size_t end) {
        result.push_back(valid.substr(begin, end - begin));
        begin = end;
        return true;
    });
    return result;
}

std::size_t characterCount(std::string_view text) {
    const std::string valid = validated(text);
    std::size_t count = 0;
    forEachCharacterEnd(valid, [&](std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::string prefix(std::string_view text, std::size_t count) {
    std::string valid = validated(text);
    std::size_t taken = 0;
    std::size_t length = 0;
    if (count > 0) {
        forEachCharacterEnd(valid, [&](std::size_t end) {
            length = end;
            return ++taken < count;
        });
    }
    valid.resize(length);
    return valid;
}

} // namespace talkledger::text
