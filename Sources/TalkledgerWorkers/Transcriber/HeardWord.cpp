#include "TalkledgerWorkers/Transcriber/HeardWord.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace talkledger {

namespace {

/// In running speech, words below this are wrong more often than right.
constexpr double leastConfidence = 0.1;

/// A word of this confidence speaks for the words around it. What music and noise yield below the other limits stays
/// under it, but for single words.
constexpr double strongConfidence = 0.7;
constexpr int strongWordsOfSpeech = 2;

/// A word alone in its utterance ("yes") has nothing else to speak for it.
constexpr double loneConfidence = 0.9;

/// Every word has a vowel.
constexpr double leastVoicedSeconds = 0.03;

/// Steady sounds are heard as words drawn out beyond what anyone says.
double longestDuration(const HeardWord& word) {
    constexpr double base = 0.2;
    constexpr double perPhone = 0.1;
    return base + perPhone * word.phones;
}

bool canBeSpeech(const HeardWord& word) {
    return word.voicedSeconds >= leastVoicedSeconds && word.end - word.start <= longestDuration(word);
}

} // namespace

std::vector<HeardWord> trustedWords(const std::vector<HeardWord>& utterance) {
    const auto strongWords = std::count_if(utterance.begin(), utterance.end(), [](const HeardWord& word) {
        return canBeSpeech(word) && word.confidence >= strongConfidence;
    });
    const double confidence = strongWords >= strongWordsOfSpeech ? leastConfidence : loneConfidence;
    std::vector<HeardWord> trusted;
    std::copy_if(utterance.begin(), utterance.end(), std::back_inserter(trusted),
                 [&](const HeardWord& word) { return canBeSpeech(word) && word.confidence >= confidence; });
    return trusted;
}

std::vector<HeardWord> settledWords(const std::vector<HeardWord>& hypothesis, const std::vector<HeardWord>& before) {
    std::vector<HeardWord> settled;
    for (std::size_t index = 0; index < std::min(hypothesis.size(), before.size()); ++index) {
        if (hypothesis[index].text != before[index].text) {
            break;
        }
        if (canBeSpeech(hypothesis[index])) {
            settled.push_back(hypothesis[index]);
        }
    }
    // Tones and howls are heard as one word, once or again and again.
    const auto differs = [&](const HeardWord& word) { return word.text != settled.front().text; };
    if (std::none_of(settled.begin(), settled.end(), differs)) {
        settled.clear();
    }
    return settled;
}

} // namespace talkledger
