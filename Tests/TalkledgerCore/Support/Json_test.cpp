#include "TalkledgerCore/Support/Json.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <limits>
#include <random>

namespace talkledger {
namespace {

using ::testing::HasSubstr;

JsonSource source() {
    return jsonFile("/home/u/session.json");
}

/// A sound list, of more empty lists than are taken.
std::string listOfManyLists() {
    std::string text = "[],";
    while (text.size() / 3 <= JsonDocument::maximumValues) {
        text += text;
    }
    return "[" + text + "[]]";
}

template <typename Read>
JsonError errorOf(const std::string& text, const Read& read) {
    try {
        const JsonDocument document(text, source());
        read(document.root());
    } catch (const JsonError& error) {
        EXPECT_THAT(error.what(), HasSubstr("/home/u/session.json"));
        return error;
    }
    ADD_FAILURE() << "No error for " << text.substr(0, 80);
    return {JsonError::Case::malformed, "", ""};
}

TEST(Json, RefusesWhatIsNoSoundJson) {
    const std::string cases[] = {"",
                                 "{",
                                 "{\"a\": 1}x",
                                 "{\"a\": 1e999}",
                                 "[NaN]",
                                 "[\"\xFF\"]",
                                 "[\"\xED\xA0\x80\"]",
                                 "[\"\\ud800\"]",
                                 "[\"" + std::string(100000, 'a'),
                                 std::string("[1]\0", 4),
                                 std::string(65, '[') + std::string(65, ']'),
                                 std::string(3'000'000, '['),
                                 std::string(100'000, '{'),
                                 listOfManyLists()};
    for (const std::string& text : cases) {
        const JsonError error = errorOf(text, [](const JsonReader&) {});
        EXPECT_EQ(error.failure(), JsonError::Case::malformed) << text.substr(0, 80);
        EXPECT_LT(std::string(error.what()).size(), 1000U);
    }
}

TEST(Json, CountsBracketsOutsideStringsOnly) {
    const std::string deepest = std::string(64, '[') + R"("[[[[\"[\\")" + std::string(64, ']');
    EXPECT_NO_THROW(JsonDocument(deepest, source()));
}

TEST(Json, ReadsOnlyTheTypeAskedFor) {
    const std::string text = R"({"text": "x", "number": 1.5, "flag": true, "null": null, "list": ["a", 1], "big": 1e30,
                                 "beyond": 9223372036854775808, "least": -9223372036854775808, "whole": 7.0})";
    const auto failureOf = [&](const char* key, const auto& read) {
        const JsonError error = errorOf(text, [&](const JsonReader& root) { read(root.required(key)); });
        EXPECT_EQ(error.key(), key);
        EXPECT_THAT(error.what(), HasSubstr(key));
        return error.failure();
    };
    const auto string = [](const JsonReader& reader) { reader.string(); };
    const auto number = [](const JsonReader& reader) { reader.number(); };
    const auto integer = [](const JsonReader& reader) { reader.integer(); };
    const auto boolean = [](const JsonReader& reader) { reader.boolean(); };
    const auto strings = [](const JsonReader& reader) { reader.strings(); };
    const auto member = [](const JsonReader& reader) { reader.optional("key"); };
    EXPECT_EQ(failureOf("missing", string), JsonError::Case::missingKey);
    EXPECT_EQ(failureOf("null", string), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("text", number), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("flag", integer), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("number", boolean), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("list", strings), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("text", strings), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("list", member), JsonError::Case::wrongType);
    EXPECT_EQ(failureOf("number", integer), JsonError::Case::invalidValue);
    EXPECT_EQ(failureOf("big", integer), JsonError::Case::invalidValue);
    EXPECT_EQ(failureOf("beyond", integer), JsonError::Case::invalidValue);

    const JsonDocument document(text, source());
    EXPECT_FALSE(document.root().optional("missing"));
    EXPECT_FALSE(document.root().optional("null"));
    EXPECT_EQ(document.root().required("least").integer(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(document.root().required("whole").integer(), 7);
    EXPECT_EQ(document.root().required("beyond").number(), 0x1p63);
}

TEST(Json, WritesSortedPrettyAndEscaped) {
    const Json value = {{"b", {1, 2.5, "x"}}, {"a", "file:///a \"b\"\\\n\x01\x7F 商談"}, {"c", Json::object()}};
    EXPECT_EQ(encodeJson(value), R"({
  "a": "file:\/\/\/a \"b\"\\\n\u0001)"
                                 "\x7F"
                                 R"( 商談",
  "b": [
    1,
    2.5,
    "x"
  ],
  "c": {}
})");
    EXPECT_EQ(encodeJson(Json::array()), "[]");
    EXPECT_EQ(encodeJson({{"a\xFF", "\xE5\x95"}}), "{\n  \"a\uFFFD\": \"\uFFFD\"\n}");
}

TEST(Json, KeepsEveryFiniteNumberAndRefusesTheOthers) {
    std::mt19937_64 random(11);
    for (int round = 0; round < 20000; ++round) {
        const auto number = std::bit_cast<double>(random());
        if (std::isfinite(number)) {
            const JsonDocument document(encodeJson({{"n", number}}), source());
            EXPECT_EQ(std::bit_cast<std::uint64_t>(document.root().required("n").number() + 0.0),
                      std::bit_cast<std::uint64_t>(number + 0.0));
        }
    }
    EXPECT_EQ(encodeJson(0.1), "0.1");
    EXPECT_EQ(encodeJson(5e-324), "5e-324");
    for (const double number : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        try {
            encodeJson({{"startTime", number}});
            ADD_FAILURE() << number;
        } catch (const JsonError& error) {
            EXPECT_EQ(error.failure(), JsonError::Case::nonFiniteNumber);
            EXPECT_EQ(error.key(), "startTime");
        }
    }
}

} // namespace
} // namespace talkledger
