#include "TalkledgerWorkers/Transcriber/WhisperVoiceDetector.h"

#include "TalkledgerWorkers/Transcriber/ModelFile.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <whisper.h>

namespace talkledger {

WhisperVoiceDetector::WhisperVoiceDetector(const std::filesystem::path& model) {
    if (examineModelFile(model) != ModelKind::voice) {
        throw SpeechEngineError("The file \"" + model.string() + "\" is no model for voices. Choose another file.");
    }
    whisper_vad_context_params parameters = whisper_vad_default_context_params();
    parameters.n_threads = 1;
    parameters.use_gpu = false;
    context_ = whisper_vad_init_from_file_with_params(model.c_str(), parameters);
    if (context_ == nullptr) {
        throw SpeechEngineError("The model for voices \"" + model.string() +
                                "\" cannot be loaded. Download it again, or choose another one.");
    }
}

WhisperVoiceDetector::~WhisperVoiceDetector() {
    whisper_vad_free(context_);
}

void WhisperVoiceDetector::reset() {
    whisper_vad_reset_state(context_);
}

float WhisperVoiceDetector::probability(std::span<const float> frame) {
    if (!whisper_vad_detect_speech_no_reset(context_, frame.data(), static_cast<int>(frame.size())) ||
        whisper_vad_n_probs(context_) < 1) {
        throw SpeechEngineError("The model for voices does not work. Remove it, or download it again.");
    }
    return whisper_vad_probs(context_)[0];
}

double WhisperVoiceDetector::lag() const {
    constexpr double fewFrames = 0.1;
    return fewFrames;
}

} // namespace talkledger
