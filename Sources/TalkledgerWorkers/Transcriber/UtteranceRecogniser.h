#pragma once

#include "TalkledgerWorkers/Transcriber/ComputeGate.h"
#include "TalkledgerWorkers/Transcriber/InventionFilter.h"
#include "TalkledgerWorkers/Transcriber/SpeechWindow.h"
#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace talkledger {

/// Which of the languages was spoken, when each is that probable; the first is the one asked for.
std::size_t spokenLanguage(std::span<const float> probabilities);

/// Recognises utterances in the language asked for, or in another of the user's when that is clearly what was spoken.
/// Waits for its turn at the processor. Used by one thread at a time; everything throws `SpeechEngineError`.
class UtteranceRecogniser {
public:
    UtteranceRecogniser(std::shared_ptr<const WhisperModel> model, std::shared_ptr<ComputeGate> gate,
                        const SpeechEngineChoice& choice);

    /// A new stream.
    void reset() { filter_ = {}; }

    /// What is said, but for what the evidence speaks against; nothing after a stop.
    std::vector<SpeechSegment> recognise(const SpeechWindow& window, ComputeUrgency urgency,
                                         const std::stop_token& stop);

    /// What it seems to be so far; absent when others need the processor more, and as soon as nobody wants it any more.
    std::optional<std::string> hypothesis(std::span<const float> samples, const std::function<bool()>& isUnwanted);

    const CaughtInventions& caught() const { return filter_.caught(); }

private:
    std::shared_ptr<const WhisperModel> model_;
    std::shared_ptr<ComputeGate> gate_;
    WhisperState state_;
    std::vector<std::string> languages_; ///< the one asked for first
    std::string lastLanguage_;           ///< of the last utterance, in which the next hypothesis is made
    InventionFilter filter_;
};

} // namespace talkledger
