#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <filesystem>
#include <memory>

namespace talkledger {

/// Makes engines of whisper.cpp, which share a model while any of them lives. In a build without whisper.cpp everything
/// throws, and names what is missing. Everything throws `SpeechEngineError`; called on any thread.
class WhisperEngines {
public:
    WhisperEngines();
    ~WhisperEngines();
    WhisperEngines(const WhisperEngines&) = delete;
    WhisperEngines& operator=(const WhisperEngines&) = delete;

    std::unique_ptr<SpeechEngine> make(const SpeechEngineChoice& choice);

    /// Loads a model, for speech or for voices, and lets it hear one utterance. A file made to do harm can end the
    /// process.
    void check(const std::filesystem::path& model);

private:
    struct Shared;
    std::unique_ptr<Shared> shared_;
};

} // namespace talkledger
