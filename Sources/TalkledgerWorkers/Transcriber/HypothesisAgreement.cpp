#include "TalkledgerWorkers/Transcriber/HypothesisAgreement.h"

#include "TalkledgerCore/Support/Text.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace talkledger {

namespace {

/// Bytes that both begin with, up to a place where a word or, without spaces, a character ends in both.
std::size_t agreement(const std::string& first, const std::string& second) {
    const std::size_t shorter = std::min(first.size(), second.size());
    std::size_t length = 0;
    while (length < shorter && first[length] == second[length]) {
        ++length;
    }
    const auto ends = [&](const std::string& text) {
        return length == text.size() || text[length] == ' ' ||
               (static_cast<unsigned char>(text[length]) & 0xC0U) == 0xC0U ||
               (static_cast<unsigned char>(text[length]) < 0x80U && length > 0 &&
                static_cast<unsigned char>(text[length - 1]) >= 0x80U);
    };
    while (length > 0 && !(ends(first) && ends(second))) {
        --length;
    }
    return length;
}

} // namespace

const std::string& HypothesisAgreement::agree(const std::string& hypothesis) {
    const std::string current = text::trimmed(hypothesis);
    const std::size_t agreed = agreement(current, std::exchange(last_, current));
    if (agreed > shown_.size()) {
        shown_ = current.substr(0, agreed);
    }
    return shown_;
}

void HypothesisAgreement::reset() {
    shown_.clear();
    last_.clear();
}

} // namespace talkledger
