#include "TalkledgerWorkers/Summarizer/AnswerGrammar.h"

#include "TalkledgerCore/Support/Json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

namespace talkledger {

AnswerGrammar::AnswerGrammar(const GenerationSchema& schema) {
    for (const GenerationProperty& property : schema.properties) {
        std::string opening = properties_.empty() ? "{" : ",";
        opening += Json(property.name).dump() + ":" + (property.isList ? "[" : "\"");
        properties_.push_back({.opening = std::move(opening),
                               .isList = property.isList,
                               .maximumCount = property.maximumCount
                                                   ? static_cast<std::size_t>(std::max(0, *property.maximumCount))
                                                   : std::numeric_limits<std::size_t>::max()});
    }
}

AnswerCursor::AnswerCursor(const AnswerGrammar& grammar) : grammar_(&grammar) {}

bool AnswerCursor::advance(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(),
                       [this](char byte) { return advance(static_cast<unsigned char>(byte)); });
}

std::string AnswerCursor::forced() const {
    switch (place_) {
    case Place::opening:
        return property().opening.substr(openingLength_);
    case Place::entryEnd:
    case Place::listStart:
        return mayHaveEntry() ? "" : "]";
    case Place::entryStart:
        return "\"";
    case Place::brace:
        return "}";
    case Place::string:
    case Place::character:
    case Place::escape:
    case Place::end:
        break;
    }
    return {};
}

std::string AnswerCursor::closing() const {
    AnswerCursor cursor = *this;
    std::string text;
    while (!cursor.isComplete()) {
        std::string next = cursor.forced();
        if (next.empty()) {
            const bool isInString =
                cursor.place_ == Place::string || cursor.place_ == Place::character || cursor.place_ == Place::escape;
            cursor.place_ = isInString ? Place::string : cursor.place_;
            next = isInString ? "\"" : "]";
        }
        cursor.advance(next);
        text += next;
    }
    return text;
}

bool AnswerCursor::advance(unsigned char byte) {
    switch (place_) {
    case Place::opening:
        return advanceInOpening(byte);
    case Place::string:
        return advanceInString(byte);
    case Place::character:
        return advanceInCharacter(byte);
    case Place::escape:
        place_ = Place::string;
        unfinishedLength_ = 0;
        return byte == '"' || byte == '\\' || byte == '/' || byte == 'n';
    case Place::listStart:
    case Place::entryEnd:
    case Place::entryStart:
        return advanceInList(byte);
    case Place::brace:
        place_ = Place::end;
        return byte == '}';
    case Place::end:
        break;
    }
    return false;
}

bool AnswerCursor::advanceInOpening(unsigned char byte) {
    const std::string& opening = property().opening;
    const bool isExpected = byte == static_cast<unsigned char>(opening[openingLength_]);
    if (++openingLength_ == opening.size()) {
        place_ = property().isList ? Place::listStart : Place::string;
    }
    return isExpected;
}

bool AnswerCursor::advanceInString(unsigned char byte) {
    if (byte == '"') {
        endString();
        return true;
    }
    if (byte == '\\') {
        place_ = Place::escape;
        unfinishedLength_ = 1;
        return true;
    }
    return (byte >= 0x20 && byte < 0x7F) || beginCharacter(byte);
}

/// The bytes with which a character of more than one begins, and the bounds of the byte after it: nothing spelled
/// longer than it has to be, no surrogates, nothing beyond Unicode, no control characters.
bool AnswerCursor::beginCharacter(unsigned char byte) {
    if (byte < 0xC2 || byte > 0xF4) {
        return false;
    }
    missingBytes_ = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    leastNext_ = byte == 0xC2 ? 0xA0 : byte == 0xE0 ? 0xA0 : byte == 0xF0 ? 0x90 : 0x80;
    greatestNext_ = byte == 0xED ? 0x9F : byte == 0xF4 ? 0x8F : 0xBF;
    place_ = Place::character;
    unfinishedLength_ = 1;
    return true;
}

bool AnswerCursor::advanceInCharacter(unsigned char byte) {
    const bool isExpected = byte >= leastNext_ && byte <= greatestNext_;
    leastNext_ = 0x80;
    greatestNext_ = 0xBF;
    ++unfinishedLength_;
    if (--missingBytes_ == 0) {
        place_ = Place::string;
        unfinishedLength_ = 0;
    }
    return isExpected;
}

bool AnswerCursor::advanceInList(unsigned char byte) {
    if (byte == '"' && place_ != Place::entryEnd && mayHaveEntry()) {
        ++entryCount_;
        place_ = Place::string;
        return true;
    }
    if (byte == ',' && place_ == Place::entryEnd && mayHaveEntry()) {
        place_ = Place::entryStart;
        return true;
    }
    if (byte == ']' && place_ != Place::entryStart) {
        endProperty();
        return true;
    }
    return false;
}

void AnswerCursor::endString() {
    if (property().isList) {
        place_ = Place::entryEnd;
    } else {
        endProperty();
    }
}

void AnswerCursor::endProperty() {
    openingLength_ = 0;
    entryCount_ = 0;
    ++property_;
    place_ = property_ == grammar_->properties_.size() ? Place::brace : Place::opening;
}

bool AnswerCursor::mayHaveEntry() const {
    return entryCount_ < property().maximumCount;
}

} // namespace talkledger
