#pragma once

#include <string>
#include <vector>

namespace talkledger {

/// A word as an engine heard it, with the evidence for it.
struct HeardWord {
    std::string text;
    double start{0};         ///< seconds of the stream
    double end{0};           ///< seconds of the stream
    double confidence{0};    ///< 0 to 1, the engine's own
    int phones{0};           ///< sounds that the word consists of
    double voicedSeconds{0}; ///< of its time, how much can be a voice

    bool operator==(const HeardWord&) const = default;
};

/// The words of one utterance that are worth showing. An engine that is made to find words finds them in noise and
/// music, too, often with full confidence; what it is unsure of is dropped, since a missing word does less harm than an
/// invented one.
std::vector<HeardWord> trustedWords(const std::vector<HeardWord>& utterance);

/// The words of an utterance under way, of which no confidence is known yet, that are worth showing for the time being:
/// those that stand as they stood in the hypothesis before, when they are more than one and the same.
std::vector<HeardWord> settledWords(const std::vector<HeardWord>& hypothesis, const std::vector<HeardWord>& before);

} // namespace talkledger
