#include "TalkledgerPlatform/LanguageModel/AbsentLanguageModel.h"

#include <stdexcept>

namespace talkledger {

namespace {

constexpr const char* explanation =
    "no language model is installed. Recordings are kept and transcribed without a summary.";

} // namespace

LanguageModelAvailability AbsentLanguageModel::availability() const {
    return {.isAvailable = false, .reason = UnavailableReason::unknown, .explanation = explanation};
}

std::unique_ptr<LanguageModelSession> AbsentLanguageModel::makeSession(const std::string& /*instructions*/) {
    throw std::runtime_error(explanation);
}

} // namespace talkledger
