#include "TalkledgerCore/Support/Json.h"

#include "TalkledgerCore/Support/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace talkledger {

namespace {

std::string inQuotes(std::string_view key) {
    return '"' + text::validated(key) + '"';
}

JsonError readError(JsonError::Case failure, std::string_view key, const std::string& problem,
                    const JsonSource& source) {
    std::string description = source.name + " cannot be read: " + problem + ".";
    if (!source.advice.empty()) {
        description += " " + source.advice;
    }
    return {failure, text::validated(key), description};
}

struct JsonExtent {
    int depth{0}; ///< brackets and braces open at the deepest place
    int values{0};
};

/// What the parser would build of a text. It is told first, as nesting without end or millions of empty lists take many
/// times the memory of their text.
JsonExtent extentOf(std::string_view text) {
    JsonExtent extent;
    int depth = 0;
    bool inString = false;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (inString) {
            if (character == '\\') {
                ++position;
            } else if (character == '"') {
                inString = false;
            }
        } else if (character == '"') {
            inString = true;
        } else if (character == '[' || character == '{') {
            extent.depth = std::max(extent.depth, ++depth);
            ++extent.values;
        } else if (character == ']' || character == '}') {
            --depth;
        } else if (character == ',') {
            ++extent.values;
        }
    }
    return extent;
}

/// The parser's own message without its mark "[json.exception...]".
std::string parserMessage(const nlohmann::json::exception& failure) {
    constexpr std::size_t maximumCharacters = 200; // the message quotes what was read last, however long that is
    const std::string_view message = failure.what();
    const std::size_t markEnd = message.find("] ");
    return text::prefix(message.substr(markEnd == std::string_view::npos ? 0 : markEnd + 2), maximumCharacters);
}

Json parse(std::string_view text, const JsonSource& source) {
    const JsonExtent extent = extentOf(text);
    if (extent.depth > JsonDocument::maximumDepth) {
        throw readError(JsonError::Case::malformed, "",
                        "it is nested deeper than " + std::to_string(JsonDocument::maximumDepth) + " levels", source);
    }
    if (extent.values > JsonDocument::maximumValues) {
        throw readError(JsonError::Case::malformed, "",
                        "it holds more than " + std::to_string(JsonDocument::maximumValues) + " values", source);
    }
    if (text.find('\0') != std::string_view::npos) { // the parser would take it for the end
        throw readError(JsonError::Case::malformed, "", "it holds a zero byte", source);
    }
    try {
        return Json::parse(text);
    } catch (const nlohmann::json::exception& failure) {
        throw readError(JsonError::Case::malformed, "", parserMessage(failure), source);
    }
}

class Encoder {
public:
    std::string encode(const Json& value) {
        append(value, "", 0);
        return std::move(text_);
    }

private:
    void append(const Json& value, std::string_view key, int depth) {
        switch (value.type()) {
        case Json::value_t::object:
            appendObject(value, depth);
            break;
        case Json::value_t::array:
            appendArray(value, key, depth);
            break;
        case Json::value_t::string:
            appendString(value.get_ref<const std::string&>());
            break;
        case Json::value_t::number_float:
            appendDouble(value.get<double>(), key);
            break;
        default: // null, booleans and integers have one form
            text_ += value.dump();
        }
    }

    void appendObject(const Json& object, int depth) {
        if (object.empty()) {
            text_ += "{}";
            return;
        }
        char opening = '{';
        for (const auto& [key, member] : object.items()) {
            text_ += opening;
            opening = ',';
            appendLineBreak(depth + 1);
            appendString(key);
            text_ += ": ";
            append(member, key, depth + 1);
        }
        appendLineBreak(depth);
        text_ += '}';
    }

    void appendArray(const Json& array, std::string_view key, int depth) {
        if (array.empty()) {
            text_ += "[]";
            return;
        }
        char opening = '[';
        for (const Json& element : array) {
            text_ += opening;
            opening = ',';
            appendLineBreak(depth + 1);
            append(element, key, depth + 1);
        }
        appendLineBreak(depth);
        text_ += ']';
    }

    void appendLineBreak(int depth) {
        text_ += '\n';
        text_.append(static_cast<std::size_t>(depth) * 2, ' ');
    }

    void appendString(std::string_view string) {
        text_ += '"';
        for (const char character : text::validated(string)) {
            appendCharacter(character);
        }
        text_ += '"';
    }

    void appendCharacter(char character) {
        switch (character) {
        case '"':
        case '\\':
        case '/':
            text_ += '\\';
            text_ += character;
            break;
        case '\b':
            text_ += "\\b";
            break;
        case '\f':
            text_ += "\\f";
            break;
        case '\n':
            text_ += "\\n";
            break;
        case '\r':
            text_ += "\\r";
            break;
        case '\t':
            text_ += "\\t";
            break;
        default:
            if (const auto code = static_cast<unsigned char>(character); code < 0x20) {
                constexpr char digits[] = "0123456789abcdef";
                text_ += "\\u00";
                text_ += digits[code >> 4];
                text_ += digits[code & 0xF];
            } else {
                text_ += character;
            }
        }
    }

    void appendDouble(double number, std::string_view key) {
        if (!std::isfinite(number)) {
            throw JsonError(JsonError::Case::nonFiniteNumber, text::validated(key),
                            "JSON cannot be written: " + inQuotes(key) + " is not a finite number.");
        }
        char digits[32];
        text_.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
    }

    std::string text_;
};

} // namespace

JsonError::JsonError(Case failure, std::string key, const std::string& description)
    : std::runtime_error(description), failure_(failure), key_(std::move(key)) {}

JsonSource jsonFile(const std::filesystem::path& path) {
    return {.name = "The file " + inQuotes(path.native()), .advice = "Repair it, or move it to another place."};
}

JsonReader::JsonReader(const Json& value, std::string_view key, const JsonSource& source)
    : value_(&value), key_(key), source_(&source) {}

JsonReader JsonReader::required(std::string_view key) const {
    if (!value_->is_object()) {
        throw wrongType("an object");
    }
    const auto member = value_->find(key);
    if (member == value_->end()) {
        throw readError(JsonError::Case::missingKey, key, "the key " + inQuotes(key) + " is missing", *source_);
    }
    return {*member, key, *source_};
}

std::optional<JsonReader> JsonReader::optional(std::string_view key) const {
    if (!value_->is_object()) {
        throw wrongType("an object");
    }
    const auto member = value_->find(key);
    if (member == value_->end() || member->is_null()) {
        return std::nullopt;
    }
    return JsonReader(*member, key, *source_);
}

std::vector<JsonReader> JsonReader::elements() const {
    if (!value_->is_array()) {
        throw wrongType("a list");
    }
    std::vector<JsonReader> readers;
    readers.reserve(value_->size());
    for (const Json& element : *value_) {
        readers.emplace_back(element, key_, *source_);
    }
    return readers;
}

std::string JsonReader::string() const {
    if (!value_->is_string()) {
        throw wrongType("a text");
    }
    return value_->get<std::string>();
}

std::vector<std::string> JsonReader::strings() const {
    std::vector<std::string> texts;
    for (const JsonReader& element : elements()) {
        texts.push_back(element.string());
    }
    return texts;
}

bool JsonReader::boolean() const {
    if (!value_->is_boolean()) {
        throw wrongType("true or false");
    }
    return value_->get<bool>();
}

double JsonReader::number() const {
    if (!value_->is_number()) {
        throw wrongType("a number");
    }
    return value_->get<double>();
}

std::int64_t JsonReader::integer() const {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!value_->is_number()) {
        throw wrongType("a whole number");
    }
    if (value_->is_number_float()) {
        const auto number = value_->get<double>();
        if (number != std::floor(number) || number < -limit || number >= limit) {
            throw invalid("a whole number of 64 bits");
        }
        return static_cast<std::int64_t>(number);
    }
    if (value_->is_number_unsigned() && value_->get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max()) {
        throw invalid("a whole number of 64 bits");
    }
    return value_->get<std::int64_t>();
}

JsonError JsonReader::invalid(const std::string& expectation) const {
    return readError(JsonError::Case::invalidValue, key_, subject() + " has to be " + expectation, *source_);
}

JsonError JsonReader::wrongType(const std::string& expected) const {
    return readError(JsonError::Case::wrongType, key_, subject() + " has to be " + expected, *source_);
}

std::string JsonReader::subject() const {
    return key_.empty() ? "its content" : inQuotes(key_);
}

JsonDocument::JsonDocument(std::string_view text, JsonSource source)
    : source_(std::move(source)), value_(std::make_unique<const Json>(parse(text, source_))) {}

JsonDocument::~JsonDocument() = default;

JsonReader JsonDocument::root() const {
    return {*value_, "", source_};
}

std::string encodeJson(const Json& value) {
    return Encoder().encode(value);
}

} // namespace talkledger
