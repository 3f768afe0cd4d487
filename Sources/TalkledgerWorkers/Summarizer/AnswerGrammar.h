#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// What an answer may look like: one JSON object with a schema's properties in their order, no white space between its
/// parts, and strings of valid UTF-8 without control characters.
class AnswerGrammar {
public:
    explicit AnswerGrammar(const GenerationSchema& schema);

private:
    friend class AnswerCursor;

    struct Property {
        std::string opening; ///< what stands before its value, the bracket or the quotation mark included
        bool isList{false};
        std::size_t maximumCount{0}; ///< of a list
    };

    std::vector<Property> properties_;
};

/// A place in an answer that is being written. A small value: a copy tries out how an answer could go on. The grammar
/// has to outlive it.
class AnswerCursor {
public:
    explicit AnswerCursor(const AnswerGrammar& grammar);

    /// Moves on over the bytes. False when an answer cannot go on with them; then the cursor is of no more use.
    bool advance(std::string_view bytes);

    bool isComplete() const { return place_ == Place::end; }

    /// The text that has to come next, as far as there is no choice; empty where there is one.
    std::string forced() const;

    /// How many of the last bytes are but the beginning of a character or an escape.
    std::size_t unfinishedLength() const { return unfinishedLength_; }

    /// The shortest text that makes the answer whole once its unfinished bytes are taken away.
    std::string closing() const;

private:
    enum class Place : std::uint8_t {
        opening,    ///< in the text before a property's value
        string,     ///< in a string, between two characters
        character,  ///< in one of more than a byte
        escape,     ///< after a backslash
        listStart,  ///< after the bracket
        entryEnd,   ///< after an entry
        entryStart, ///< after the comma between two entries
        brace,      ///< before the last one
        end
    };

    bool advance(unsigned char byte);
    bool advanceInOpening(unsigned char byte);
    bool advanceInString(unsigned char byte);
    bool advanceInCharacter(unsigned char byte);
    bool advanceInList(unsigned char byte);
    bool beginCharacter(unsigned char byte);
    void endString();
    void endProperty();
    bool mayHaveEntry() const;

    const AnswerGrammar::Property& property() const { return grammar_->properties_[property_]; }

    const AnswerGrammar* grammar_;
    Place place_{Place::opening};
    std::size_t property_{0};
    std::size_t openingLength_{0}; ///< bytes of the opening that have come
    std::size_t entryCount_{0};    ///< of the list, the one under way included
    std::size_t unfinishedLength_{0};
    int missingBytes_{0}; ///< of the character under way
    unsigned char leastNext_{0x80};
    unsigned char greatestNext_{0xBF};
};

} // namespace talkledger
