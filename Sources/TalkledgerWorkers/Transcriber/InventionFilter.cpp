#include "TalkledgerWorkers/Transcriber/InventionFilter.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace talkledger {

namespace {

/// Of what is really said, the engine's own model keeps the mean above this.
constexpr double leastLogProbability = -1;

/// Where the engine doubts that there was speech, it has to be surer of the words.
constexpr double doubtfulNoSpeech = 0.6;
constexpr double leastLogProbabilityInDoubt = -0.5;

} // namespace

bool isLoop(const std::string& text) {
    constexpr std::size_t shortestLoop = 24; ///< bytes: "no, no, no, no" may well be said
    constexpr std::size_t rounds = 3;
    std::size_t longest = 0;
    for (std::size_t period = 1; period * rounds <= text.size(); ++period) {
        std::size_t run = 0;
        for (std::size_t index = period; index < text.size(); ++index) {
            run = text[index] == text[index - period] ? run + 1 : 0;
            if (run >= (rounds - 1) * period) {
                longest = std::max(longest, run + period);
            }
        }
    }
    return longest >= shortestLoop && 2 * longest > text.size();
}

std::vector<WhisperPassage> InventionFilter::believable(std::vector<WhisperPassage> passages) {
    std::erase_if(passages, [this](const WhisperPassage& passage) { return isInvented(passage); });
    return passages;
}

bool InventionFilter::isInvented(const WhisperPassage& passage) {
    if (passage.words.empty()) {
        return true;
    }
    const auto caughtAs = [](std::int64_t& count) {
        ++count;
        return true;
    };
    if (passage.noSpeechProbability > doubtfulNoSpeech && passage.meanLogProbability < leastLogProbabilityInDoubt) {
        return caughtAs(caught_.withoutSpeech);
    }
    if (passage.meanLogProbability < leastLogProbability) {
        return caughtAs(caught_.unlikely);
    }
    return isLoop(passage.text()) && caughtAs(caught_.repeated);
}

} // namespace talkledger
