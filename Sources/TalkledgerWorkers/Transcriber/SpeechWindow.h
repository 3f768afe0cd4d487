#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"
#include "TalkledgerWorkers/Transcriber/Utterance.h"
#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace talkledger {

/// Utterances put together, with short pauses between, to be heard in one piece: an engine understands more of them
/// with their neighbours, and silence costs it nothing.
class SpeechWindow {
public:
    bool isEmpty() const { return parts_.empty(); }

    /// Whether the utterance still fits into one piece.
    bool hasRoomFor(const Utterance& utterance) const;

    void append(const Utterance& utterance);

    const std::vector<float>& samples() const { return samples_; }

    /// Of the utterances, in samples.
    std::int64_t spoken() const { return spoken_; }

    /// What was heard as segments at their true times in the stream; none of them spans a pause between utterances.
    std::vector<SpeechSegment> segments(const std::vector<WhisperPassage>& passages) const;

private:
    struct Part {
        double begin{0};  ///< of its first sample here, seconds
        double end{0};    ///< of its last one
        double offset{0}; ///< seconds from here to the stream
    };

    std::size_t partAt(double time, std::size_t earliest) const;

    std::vector<float> samples_;
    std::vector<Part> parts_;
    std::int64_t spoken_{0};
};

} // namespace talkledger
