#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechDetector.h"

#include <filesystem>
#include <span>

struct whisper_vad_context;

namespace talkledger {

/// Finds speech with a model that was made for it.
class WhisperVoiceDetector : public SpeechDetector {
public:
    /// Throws `SpeechEngineError` for a file that is no such model, or not whole.
    explicit WhisperVoiceDetector(const std::filesystem::path& model);
    ~WhisperVoiceDetector() override;
    WhisperVoiceDetector(const WhisperVoiceDetector&) = delete;
    WhisperVoiceDetector& operator=(const WhisperVoiceDetector&) = delete;

    void reset() override;
    float probability(std::span<const float> frame) override;
    double lag() const override;

private:
    whisper_vad_context* context_;
};

} // namespace talkledger
