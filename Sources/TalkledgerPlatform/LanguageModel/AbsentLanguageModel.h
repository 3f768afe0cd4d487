#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"

namespace talkledger {

/// Stands for the language model where none is installed: unavailable, and it says why.
class AbsentLanguageModel final : public SystemLanguageModel {
public:
    LanguageModelAvailability availability() const override;

    /// Throws, with the same explanation.
    std::unique_ptr<LanguageModelSession> makeSession(const std::string& instructions) override;
};

} // namespace talkledger
