#pragma once

#include <string>

namespace talkledger {

/// Keeps a growing hypothesis from flickering: shown is what two hypotheses in a row agree on, and what was shown stays
/// until the utterance ends. Text is UTF-8; it is compared word by word, and character by character where the language
/// does without spaces.
class HypothesisAgreement {
public:
    /// The text to be shown after another hypothesis of the same utterance.
    const std::string& agree(const std::string& hypothesis);

    /// A new utterance.
    void reset();

private:
    std::string shown_;
    std::string last_;
};

} // namespace talkledger
