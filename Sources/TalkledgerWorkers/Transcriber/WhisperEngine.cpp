#include "TalkledgerWorkers/Transcriber/WhisperEngine.h"

#include <utility>

namespace talkledger {

namespace {

/// Of an utterance, seconds. In a file it may fill a window; live, somebody waits for the words.
constexpr double longestInFile = WhisperState::longestPiece;
constexpr double longestLive = 15;

double secondsOf(std::int64_t samples) {
    return static_cast<double>(samples) / SpeechEngine::sampleRate;
}

class UtteranceMeter : public SpeechMeter {
public:
    explicit UtteranceMeter(std::unique_ptr<SpeechDetector> detector) : finder_(std::move(detector), longestInFile) {
        finder_.begin([this](const Utterance& utterance) { samples_ += utterance.spoken; });
    }

    void append(std::span<const std::int16_t> samples) override { finder_.append(samples); }

    double finish() override {
        finder_.finish();
        return secondsOf(samples_);
    }

private:
    UtteranceFinder finder_;
    std::int64_t samples_{0};
};

} // namespace

WhisperEngine::WhisperEngine(std::unique_ptr<UtteranceRecogniser> recogniser, DetectorFactory detectors)
    : recogniser_(std::move(recogniser)), detectors_(std::move(detectors)) {}

void WhisperEngine::begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token stop) {
    live_.reset();
    recogniser_->reset();
    window_ = {};
    heardSamples_ = 0;
    handler_ = std::move(handler);
    stop_ = std::move(stop);
    const bool isLive = reporting == SpeechReporting::alsoHypotheses;
    finder_ = std::make_unique<UtteranceFinder>(detectors_(), isLive ? longestLive : longestInFile);
    if (isLive) {
        live_ = std::make_unique<LiveRecognition>(*recogniser_, handler_, stop_);
        finder_->begin([this](Utterance utterance) { live_->append(std::move(utterance)); });
    } else {
        finder_->begin([this](const Utterance& utterance) { gather(utterance); });
    }
}

void WhisperEngine::append(std::span<const std::int16_t> samples) {
    finder_->append(samples);
    if (live_) {
        live_->follow(finder_->open());
    }
}

void WhisperEngine::finish() {
    finder_->finish();
    if (live_) {
        live_->finish();
    } else {
        recogniseWindow();
    }
}

void WhisperEngine::end() {
    live_.reset();
}

std::unique_ptr<SpeechMeter> WhisperEngine::makeMeter() const {
    return std::make_unique<UtteranceMeter>(detectors_());
}

double WhisperEngine::heardSpeech() const {
    return secondsOf(heardSamples_);
}

CaughtInventions WhisperEngine::caught() const {
    CaughtInventions caught = recogniser_->caught();
    caught.withoutVoice = finder_ ? finder_->passedOver() : 0;
    return caught;
}

void WhisperEngine::gather(const Utterance& utterance) {
    if (!window_.hasRoomFor(utterance)) {
        recogniseWindow();
    }
    window_.append(utterance);
}

void WhisperEngine::recogniseWindow() {
    if (window_.isEmpty() || stop_.stop_requested()) {
        return;
    }
    const SpeechWindow window = std::exchange(window_, {});
    for (const SpeechSegment& segment : recogniser_->recognise(window, ComputeUrgency::file, stop_)) {
        handler_(segment);
    }
    heardSamples_ += window.spoken();
}

} // namespace talkledger
