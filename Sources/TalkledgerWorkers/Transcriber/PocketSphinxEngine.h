#pragma once

#include "TalkledgerWorkers/Transcriber/HeardWord.h"
#include "TalkledgerWorkers/Transcriber/SegmentBuilder.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"
#include "TalkledgerWorkers/Transcriber/SpeechTrace.h"
#include "TalkledgerWorkers/Transcriber/VoicingDetector.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct ps_decoder_s;

namespace talkledger {

/// The word that a dictionary entry stands for, as it is written: "for(3)" is a pronunciation of "for". Absent for what
/// is no word: silence, noises, marks of a sentence's beginning and end.
std::optional<std::string> writtenWord(std::string_view entry);

/// Keeps the library from writing messages; to be called once, before any engine is made.
void silencePocketSphinx();

/// English from the packaged PocketSphinx model: about 100 MB and a tenth of real time for each engine. The words of an
/// utterance are known at its end, which is a pause of half a second, or a quiet moment when someone speaks on and on.
/// Hypotheses come before, five times a second at most. The last of an utterance is told when its end is known: that
/// what was no speech after all goes from it.
///
/// Each engine loads a model of its own: the library writes to caches inside its language model while it scores, so
/// that two threads cannot share one. The largest part of the acoustic model is mapped from its file, hence shared.
class PocketSphinxEngine : public SpeechEngine {
public:
    /// `modelFolder` holds the folder "en-us". Throws `SpeechEngineError` when the model cannot be loaded. Not on two
    /// threads at once: while it loads, the library keeps parameters of its filters in static variables.
    explicit PocketSphinxEngine(const std::filesystem::path& modelFolder);
    ~PocketSphinxEngine() override;
    PocketSphinxEngine(const PocketSphinxEngine&) = delete;
    PocketSphinxEngine& operator=(const PocketSphinxEngine&) = delete;

    void begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token stop) override;
    void append(std::span<const std::int16_t> samples) override;
    void finish() override;

private:
    struct DecoderDeleter {
        void operator()(ps_decoder_s* decoder) const;
    };

    void process(std::span<const std::int16_t> samples);
    bool shouldCut(std::span<const std::int16_t> samples);
    void startUtterance();
    void endUtterance();
    std::vector<HeardWord> heardWords() const;
    void tellHypothesis();
    void tellWordsSoFar(const std::vector<HeardWord>& current);

    std::unique_ptr<ps_decoder_s, DecoderDeleter> decoder_;
    std::vector<float> initialMeans_; ///< of the cepstrum, before any voice was heard
    VoicingDetector voicing_;
    SpeechTrace speech_;
    SegmentBuilder segments_;
    std::vector<std::int16_t> pending_; ///< less than a block
    std::int64_t processedSamples_{0};
    bool isUtteranceOpen_{false};
    bool isInSpeech_{false};
    std::int64_t speechSamples_{0}; ///< of the utterance
    double speechEnergy_{0};        ///< of the utterance
    int quietBlocks_{0};            ///< in a row

    SpeechReporting reporting_{SpeechReporting::finalSegments};
    SpeechSegmentHandler handler_;
    int blocksUntilHypothesis_{0};
    std::vector<HeardWord> lastHypothesis_; ///< of the utterance
    std::string toldText_;                  ///< of the hypothesis that stands
};

} // namespace talkledger
