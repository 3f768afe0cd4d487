#pragma once

#include "TalkledgerWorkers/Transcriber/LiveRecognition.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"
#include "TalkledgerWorkers/Transcriber/SpeechWindow.h"
#include "TalkledgerWorkers/Transcriber/UtteranceFinder.h"
#include "TalkledgerWorkers/Transcriber/UtteranceRecogniser.h"

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>

namespace talkledger {

/// Any language, with a model of whisper.cpp that all engines share; each has a state of its own. Only what a detector
/// takes for speech is ever given to the model. With final segments alone, utterances are gathered into long windows
/// and recognised out of `append`, as suits a file; with hypotheses, on a thread of the engine's, as suits a live
/// stream.
class WhisperEngine : public SpeechEngine {
public:
    using DetectorFactory = std::function<std::unique_ptr<SpeechDetector>()>;

    WhisperEngine(std::unique_ptr<UtteranceRecogniser> recogniser, DetectorFactory detectors);

    void begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token stop) override;
    void append(std::span<const std::int16_t> samples) override;
    void finish() override;
    void end() override;
    std::unique_ptr<SpeechMeter> makeMeter() const override;
    double heardSpeech() const override;
    CaughtInventions caught() const override;

private:
    void gather(const Utterance& utterance);
    void recogniseWindow();

    std::unique_ptr<UtteranceRecogniser> recogniser_;
    DetectorFactory detectors_;
    SpeechSegmentHandler handler_;
    std::stop_token stop_;
    std::unique_ptr<UtteranceFinder> finder_;
    SpeechWindow window_;                   ///< of a file
    std::unique_ptr<LiveRecognition> live_; ///< of a live stream
    std::int64_t heardSamples_{0};          ///< of speech
};

} // namespace talkledger
