#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerPlatform/Speech/SpeechModelCheck.h"

#include <filesystem>

namespace talkledger {

/// Tries each kind of model with its engine, in a worker: a file that breaks it ends nothing else.
class EngineModelCheck final : public ModelFileChecking {
public:
    /// The program of `transcriber` tries speech models. `language` has to outlive it.
    EngineModelCheck(WorkerSettings transcriber, LanguageModelCheck& language);

    Task<void> check(ModelFileKind kind, std::filesystem::path file) override;

private:
    SpeechModelCheck speech_;
    LanguageModelCheck& language_;
};

} // namespace talkledger
