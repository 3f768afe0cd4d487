#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// JSON that may have been written by anyone: it is parsed within bounds, read with the expected types only, and every
/// error names where the text came from.
namespace talkledger {

using Json = nlohmann::json;

/// JSON that cannot be read or written. `what()` is the user-visible text.
class JsonError : public std::runtime_error {
public:
    enum class Case {
        malformed,      ///< no sound JSON, text behind the value, broken UTF-8, or beyond the bounds
        missingKey,     ///< a required member is absent
        wrongType,      ///< a value of another JSON type than expected
        invalidValue,   ///< of the right type, yet not one of the values that are possible here
        nonFiniteNumber ///< infinity and not-a-number have no JSON form
    };

    JsonError(Case failure, std::string key, const std::string& description);

    Case failure() const { return failure_; }

    /// The key of the value in question; empty for the outermost value.
    const std::string& key() const { return key_; }

private:
    Case failure_;
    std::string key_;
};

/// What error texts say of the origin of a JSON text.
struct JsonSource {
    std::string name;
    std::string advice; ///< a sentence on what to do about bad content; may be empty
};

JsonSource jsonFile(const std::filesystem::path& path);

/// A view of one value of a parsed text; valid as long as its document. Every reader throws `JsonError` for a value of
/// another type.
class JsonReader {
public:
    JsonReader(const Json& value, std::string_view key, const JsonSource& source);

    /// A member of this object. `optional` is absent for a missing key and for null.
    JsonReader required(std::string_view key) const;
    std::optional<JsonReader> optional(std::string_view key) const;

    std::vector<JsonReader> elements() const;
    std::string string() const;
    std::vector<std::string> strings() const;
    bool boolean() const;
    double number() const;

    /// A number without a fraction, within the range of the type.
    std::int64_t integer() const;

    /// The error of a value that is impossible here; `expectation` completes "has to be ...".
    JsonError invalid(const std::string& expectation) const;

private:
    JsonError wrongType(const std::string& expected) const;
    std::string subject() const;

    const Json* value_;
    std::string_view key_;
    const JsonSource* source_;
};

/// A parsed text.
class JsonDocument {
public:
    static constexpr int maximumDepth = 64;
    static constexpr int maximumValues = 4'000'000; ///< a transcript of a day has a tenth of them

    /// Throws `JsonError`.
    JsonDocument(std::string_view text, JsonSource source);
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;
    ~JsonDocument();

    JsonReader root() const;

private:
    JsonSource source_;
    std::unique_ptr<const Json> value_;
};

/// Pretty-printed, keys sorted, slashes escaped, doubles in the shortest form that reads back as the same number.
/// Invalid UTF-8 in strings becomes U+FFFD; a number that is not finite is a `JsonError`.
std::string encodeJson(const Json& value);

/// The value that a JSON text stands for, specialised for every type that has a JSON form beside its `toJson`.
template <typename Value>
Value fromJson(const JsonReader& reader);

template <typename Value>
Value decodeJson(std::string_view text, JsonSource source) {
    const JsonDocument document(text, std::move(source));
    return fromJson<Value>(document.root());
}

template <typename Value>
std::vector<Value> listFromJson(const JsonReader& reader) {
    std::vector<Value> values;
    for (const JsonReader& element : reader.elements()) {
        values.push_back(fromJson<Value>(element));
    }
    return values;
}

} // namespace talkledger
