#include "TalkledgerWorkers/Transcriber/UtteranceRecogniser.h"

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <algorithm>
#include <utility>

namespace talkledger {

namespace {

/// The language asked for is a strong prior: these together speak against it.
constexpr float otherIsSpoken = 0.8F;
constexpr float askedIsNotSpoken = 0.1F;

std::vector<std::string> knownLanguages(const WhisperModel& model, const SpeechEngineChoice& choice) {
    std::vector<std::string> languages;
    std::vector<std::string> wanted{choice.locale};
    wanted.insert(wanted.end(), choice.otherLanguages.begin(), choice.otherLanguages.end());
    for (const std::string& locale : wanted) {
        const std::optional<std::string> language = model.language(locale);
        if (language && std::find(languages.begin(), languages.end(), *language) == languages.end()) {
            languages.push_back(*language);
        } else if (!language && languages.empty()) {
            throw SpeechEngineError("The speech model does not know the language of " + locale +
                                    ". Choose a multilingual model.");
        }
    }
    return languages;
}

} // namespace

std::size_t spokenLanguage(std::span<const float> probabilities) {
    const auto likeliest = std::max_element(probabilities.begin(), probabilities.end());
    const bool isOther = *likeliest >= otherIsSpoken && probabilities.front() < askedIsNotSpoken;
    return isOther ? static_cast<std::size_t>(likeliest - probabilities.begin()) : 0;
}

UtteranceRecogniser::UtteranceRecogniser(std::shared_ptr<const WhisperModel> model, std::shared_ptr<ComputeGate> gate,
                                         const SpeechEngineChoice& choice)
    : model_(std::move(model)),
      gate_(std::move(gate)),
      state_(model_),
      languages_(knownLanguages(*model_, choice)),
      lastLanguage_(languages_.front()) {}

std::vector<SpeechSegment> UtteranceRecogniser::recognise(const SpeechWindow& window, ComputeUrgency urgency,
                                                          const std::stop_token& stop) {
    const std::optional<ComputeGate::Turn> turn = gate_->enter(urgency, stop);
    if (!turn) {
        return {};
    }
    WhisperState::Hearing hearing{.language = languages_.front(),
                                  .threads = turn->threads(),
                                  .isHypothesis = false,
                                  .shouldStop = [&] { return stop.stop_requested(); }};
    std::optional<std::vector<WhisperPassage>> passages = state_.hear(window.samples(), hearing);
    if (passages && languages_.size() > 1) {
        lastLanguage_ = languages_[spokenLanguage(state_.languageProbabilities(languages_, turn->threads()))];
        if (lastLanguage_ != hearing.language) {
            hearing.language = lastLanguage_;
            passages = state_.hear(window.samples(), hearing);
        }
    }
    return passages ? window.segments(filter_.believable(*std::move(passages))) : std::vector<SpeechSegment>();
}

std::optional<std::string> UtteranceRecogniser::hypothesis(std::span<const float> samples,
                                                           const std::function<bool()>& isUnwanted) {
    const std::optional<ComputeGate::Turn> turn = gate_->tryHypothesis();
    if (!turn) {
        return std::nullopt;
    }
    const WhisperState::Hearing hearing{.language = lastLanguage_,
                                        .threads = turn->threads(),
                                        .isHypothesis = true,
                                        .shouldStop = [&] { return isUnwanted() || turn->shouldGiveWay(); }};
    const auto passages = state_.hear(samples, hearing);
    if (!passages) {
        return std::nullopt;
    }
    std::string text;
    InventionFilter uncounted;
    for (const WhisperPassage& passage : uncounted.believable(*passages)) {
        text += passage.text();
    }
    return text;
}

} // namespace talkledger
