#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"

namespace talkledger {

namespace {

SpeechEngineError missing() {
    return SpeechEngineError("This build of Talkledger is without the speech engine whisper.cpp. Build it with "
                             "scripts/run, which provides the engine.",
                             EngineLack::engine);
}

} // namespace

struct WhisperEngines::Shared {};

WhisperEngines::WhisperEngines() = default;

WhisperEngines::~WhisperEngines() = default;

std::unique_ptr<SpeechEngine> WhisperEngines::make(const SpeechEngineChoice& /*choice*/) {
    throw missing();
}

void WhisperEngines::check(const std::filesystem::path& /*model*/) {
    throw missing();
}

} // namespace talkledger
