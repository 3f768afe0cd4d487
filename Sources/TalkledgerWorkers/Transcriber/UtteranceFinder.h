#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechDetector.h"
#include "TalkledgerWorkers/Transcriber/Utterance.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace talkledger {

/// Cuts what somebody says out of a stream of 16 kHz samples, however long that is. Used by one thread.
class UtteranceFinder {
public:
    using Handler = std::function<void(Utterance)>;

    /// An utterance ends at a pause; one that grows beyond `longest` seconds is cut at its quietest moment.
    UtteranceFinder(std::unique_ptr<SpeechDetector> detector, double longest);

    /// A new stream. The handler is called out of `append` and `finish`, in the order of the utterances.
    void begin(Handler handler);
    void append(std::span<const std::int16_t> samples);
    void finish();

    /// The utterance under way; empty while nobody speaks.
    const Utterance& open() const { return open_; }

    /// Sounds louder than the rest that were no speech.
    std::int64_t passedOver() const { return passedOver_; }

private:
    void hear(std::span<const float> frame);
    void beginUtterance();
    void endUtterance();
    void cut();
    void watchLoudness(std::span<const float> frame);

    std::unique_ptr<SpeechDetector> detector_;
    std::size_t longest_;  ///< samples
    std::size_t pause_;    ///< samples
    std::size_t lookback_; ///< samples
    Handler handler_;
    std::vector<float> pending_; ///< less than a frame
    std::vector<float> before_;  ///< what came last, while nobody speaks
    Utterance open_;
    std::size_t quietSamples_{0}; ///< at its end
    std::int64_t heard_{0};       ///< samples of the stream
    std::size_t loudFrames_{0};   ///< in a row, while nobody speaks
    std::int64_t passedOver_{0};
};

} // namespace talkledger
