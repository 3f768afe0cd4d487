#include "TalkledgerWorkers/Transcriber/WhisperEngines.h"

#include "TalkledgerWorkers/Transcriber/ModelFile.h"
#include "TalkledgerWorkers/Transcriber/VoiceDetector.h"
#include "TalkledgerWorkers/Transcriber/WhisperEngine.h"
#include "TalkledgerWorkers/Transcriber/WhisperVoiceDetector.h"

#include <ggml-backend.h>
#include <whisper.h>

#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// A recording has two tracks.
constexpr int recognisedAtOnce = 2;

int coreCount() {
#if __has_feature(thread_sanitizer)
    return recognisedAtOnce; // it does not see how the engine's threads, which are not instrumented, wait for each
                             // other
#else
    return static_cast<int>(std::thread::hardware_concurrency());
#endif
}

void ignoreMessage(ggml_log_level, const char*, void*) {}

WhisperEngine::DetectorFactory detectorFactory(const std::filesystem::path& voiceModel) {
    return [voiceModel]() -> std::unique_ptr<SpeechDetector> {
        if (voiceModel.empty()) {
            return std::make_unique<VoiceDetector>();
        }
        return std::make_unique<WhisperVoiceDetector>(voiceModel);
    };
}

/// Something to hear: a second of a sawtooth, about as low as a voice.
std::vector<float> testUtterance() {
    constexpr std::size_t period = 130;
    std::vector<float> samples(SpeechEngine::sampleRate);
    for (std::size_t index = 0; index < samples.size(); ++index) {
        samples[index] = static_cast<float>(index % period) / period / 2 - 0.25F;
    }
    return samples;
}

} // namespace

struct WhisperEngines::Shared {
    std::shared_ptr<ComputeGate> gate{std::make_shared<ComputeGate>(coreCount(), recognisedAtOnce)};
    std::mutex mutex; ///< of the rest
    std::filesystem::path path;
    std::weak_ptr<const WhisperModel> model; ///< the last one that was loaded

    std::shared_ptr<const WhisperModel> load(const std::filesystem::path& wanted) {
        const std::lock_guard lock(mutex);
        std::shared_ptr<const WhisperModel> loaded = model.lock();
        if (!loaded || path != wanted) {
            loaded = std::make_shared<const WhisperModel>(wanted);
            model = loaded;
            path = wanted;
        }
        return loaded;
    }
};

WhisperEngines::WhisperEngines() : shared_(std::make_unique<Shared>()) {
    whisper_log_set(ignoreMessage, nullptr);
    if (ggml_backend_reg_count() == 0) { // a distribution's library finds its parts at run time
        ggml_backend_load_all();
    }
}

WhisperEngines::~WhisperEngines() = default;

std::unique_ptr<SpeechEngine> WhisperEngines::make(const SpeechEngineChoice& choice) {
    auto recogniser = std::make_unique<UtteranceRecogniser>(shared_->load(choice.model), shared_->gate, choice);
    return std::make_unique<WhisperEngine>(std::move(recogniser), detectorFactory(choice.voiceModel));
}

void WhisperEngines::check(const std::filesystem::path& model) {
    if (examineModelFile(model) == ModelKind::voice) {
        WhisperVoiceDetector detector(model);
        detector.probability(std::vector<float>(SpeechDetector::frameLength));
        return;
    }
    WhisperState state(std::make_shared<const WhisperModel>(model));
    state.hear(testUtterance(),
               {.language = "en", .threads = 1, .isHypothesis = true, .shouldStop = [] { return false; }});
}

} // namespace talkledger
