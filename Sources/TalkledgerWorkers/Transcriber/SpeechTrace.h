#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechDetector.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace talkledger {

/// Remembers when somebody spoke in a stream of 16 kHz samples, as a detector tells. Times are seconds from the
/// beginning of the stream. Used by one thread.
class SpeechTrace {
public:
    explicit SpeechTrace(std::unique_ptr<SpeechDetector> detector);

    /// A new stream from time 0.
    void reset();

    void append(std::span<const std::int16_t> samples);

    /// Whether somebody spoke between two times, as far as it is known yet.
    bool hasSpeech(double first, double last) const;

    /// Frees what is known of the time before.
    void forget(double before);

private:
    std::unique_ptr<SpeechDetector> detector_;
    std::vector<float> pending_; ///< less than a frame
    std::int64_t frames_{0};
    std::deque<double> decisions_; ///< when the detector took what came before for speech
};

} // namespace talkledger
