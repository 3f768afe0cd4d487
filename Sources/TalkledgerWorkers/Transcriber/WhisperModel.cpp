#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include "TalkledgerWorkers/Transcriber/ComputeStop.h"
#include "TalkledgerWorkers/Transcriber/ModelFile.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <whisper.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>
#include <utility>

namespace talkledger {

namespace {

constexpr double ticksPerSecond = 100;
constexpr int positionsPerSecond = 50; ///< of the encoder's output

/// The engine knows from a little silence after the last word that it was the last. An utterance that has ended brings
/// its own.
constexpr double silenceAfterHypothesis = 0.5;

/// Shorter, and the engine tells nothing of it.
constexpr double shortestPiece = 1;

/// A multiple of this suits the matrix operations.
constexpr int positionStep = 32;

int encodedPositions(std::size_t samples, int most) {
    const double seconds = static_cast<double>(samples) / SpeechEngine::sampleRate;
    const int positions = static_cast<int>(std::ceil(seconds * positionsPerSecond));
    return std::min(most, (positions + positionStep - 1) / positionStep * positionStep);
}

bool isWholeText(std::string_view text) {
    std::size_t following = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (following > 0) {
            --following;
        } else if (byte >= 0xF0) {
            following = 3;
        } else if (byte >= 0xE0) {
            following = 2;
        } else if (byte >= 0xC0) {
            following = 1;
        }
    }
    return following == 0;
}

/// Where words are told apart by spaces, a piece without one belongs to the word before it.
std::vector<WhisperWord> wholeWords(std::vector<WhisperWord> pieces) {
    const auto beginsWord = [](const WhisperWord& piece) { return piece.text.starts_with(' '); };
    if (pieces.empty() || std::none_of(pieces.begin() + 1, pieces.end(), beginsWord)) {
        return pieces;
    }
    std::vector<WhisperWord> words;
    for (WhisperWord& piece : pieces) {
        if (words.empty() || beginsWord(piece)) {
            words.push_back(std::move(piece));
        } else {
            words.back().text += piece.text;
            words.back().end = piece.end;
        }
    }
    return words;
}

/// The engine's own exceptions, which a strange model can cause, say nothing to a user.
template <typename Result, typename Engine>
Result attempt(Result failure, Engine engine) {
    try {
        return engine();
    } catch (const std::exception&) {
        return failure;
    }
}

whisper_full_params parametersFor(const WhisperState::Hearing& hearing) {
    whisper_full_params parameters = whisper_full_default_params(WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = hearing.threads;
    parameters.language = hearing.language.c_str();
    parameters.no_context = true;
    parameters.print_progress = false;
    parameters.print_realtime = false;
    parameters.print_timestamps = false;
    parameters.suppress_nst = true;
    parameters.greedy.best_of = 1; // the decoder's memory would become four times as much
    parameters.token_timestamps = !hearing.isHypothesis;
    parameters.no_timestamps = hearing.isHypothesis;
    parameters.single_segment = hearing.isHypothesis;
    if (hearing.isHypothesis) {
        parameters.temperature_inc = 0;
    }
    return parameters;
}

} // namespace

std::string WhisperPassage::text() const {
    std::string text;
    for (const WhisperWord& word : words) {
        text += word.text;
    }
    return text;
}

WhisperModel::WhisperModel(const std::filesystem::path& path) {
    if (examineModelFile(path) != ModelKind::speech) {
        throw SpeechEngineError("The file \"" + path.string() + "\" is no speech model. Choose another file.");
    }
    whisper_context_params parameters = whisper_context_default_params();
    parameters.use_gpu = false;
    parameters.flash_attn = true;
    context_ = attempt<whisper_context*>(
        nullptr, [&] { return whisper_init_from_file_with_params_no_state(path.c_str(), parameters); });
    if (context_ == nullptr) {
        throw SpeechEngineError("The speech model \"" + path.string() +
                                "\" cannot be loaded. Download it again, or choose another one.");
    }
}

WhisperModel::~WhisperModel() {
    whisper_free(context_);
}

std::optional<std::string> WhisperModel::language(const std::string& locale) const {
    const std::string language = locale.substr(0, locale.find_first_of("_-.@"));
    const bool isKnown =
        whisper_is_multilingual(context_) != 0 ? whisper_lang_id(language.c_str()) >= 0 : language == "en";
    return isKnown ? std::optional(language) : std::nullopt;
}

WhisperState::WhisperState(std::shared_ptr<const WhisperModel> model)
    : model_(std::move(model)), state_(whisper_init_state(model_->context())) {
    if (state_ == nullptr) {
        throw SpeechEngineError("There is not enough memory for the speech model. Close other programs, or choose a "
                                "smaller model.",
                                EngineLack::memory);
    }
}

WhisperState::~WhisperState() {
    whisper_free_state(state_);
}

std::optional<std::vector<WhisperPassage>> WhisperState::hear(std::span<const float> samples, const Hearing& hearing) {
    ComputeStop stop(hearing.shouldStop);
    if (stop.isWanted()) {
        return std::nullopt; // before the spectrum is computed, which nothing can stop
    }
    std::vector<float> padded(samples.begin(), samples.end());
    const auto leastLength = static_cast<std::size_t>(shortestPiece * SpeechEngine::sampleRate);
    const double trailing = hearing.isHypothesis ? silenceAfterHypothesis : 0;
    const auto silence = static_cast<std::size_t>(trailing * SpeechEngine::sampleRate);
    padded.resize(std::max(samples.size() + silence, leastLength));
    whisper_full_params parameters = parametersFor(hearing);
    parameters.audio_ctx = encodedPositions(padded.size(), whisper_model_n_audio_ctx(model_->context()));
    parameters.abort_callback = ComputeStop::ask;
    parameters.abort_callback_user_data = &stop;
    const int failure = attempt(-1, [&] {
        return whisper_full_with_state(model_->context(), state_, parameters, padded.data(),
                                       static_cast<int>(padded.size()));
    });
    if (stop.isWanted()) {
        return std::nullopt;
    }
    if (failure != 0) {
        throw SpeechEngineError("The speech model could not recognise what was said. Choose another model.");
    }
    const int count = whisper_full_n_segments_from_state(state_);
    std::vector<WhisperPassage> passages;
    passages.reserve(static_cast<std::size_t>(count));
    for (int segment = 0; segment < count; ++segment) {
        passages.push_back(passage(segment));
    }
    return passages;
}

WhisperPassage WhisperState::passage(int segment) const {
    whisper_context* const context = model_->context();
    const double first = static_cast<double>(whisper_full_get_segment_t0_from_state(state_, segment)) / ticksPerSecond;
    const double last = static_cast<double>(whisper_full_get_segment_t1_from_state(state_, segment)) / ticksPerSecond;
    WhisperPassage passage;
    passage.noSpeechProbability = whisper_full_get_segment_no_speech_prob_from_state(state_, segment);
    const int count = whisper_full_n_tokens_from_state(state_, segment);
    double logProbabilities = 0;
    int spoken = 0;
    for (int index = 0; index < count; ++index) {
        const whisper_token_data token = whisper_full_get_token_data_from_state(state_, segment, index);
        if (token.id >= whisper_token_eot(context)) {
            continue;
        }
        logProbabilities += token.plog;
        ++spoken;
        const std::string text = whisper_token_to_str(context, token.id);
        const double start = token.t0 < 0 ? first : static_cast<double>(token.t0) / ticksPerSecond;
        const double end = token.t1 < 0 ? last : static_cast<double>(token.t1) / ticksPerSecond;
        if (!passage.words.empty() && !isWholeText(passage.words.back().text)) {
            passage.words.back().text += text;
            passage.words.back().end = end;
        } else {
            passage.words.push_back({.text = text, .start = start, .end = end});
        }
    }
    passage.words = wholeWords(std::move(passage.words));
    passage.meanLogProbability = spoken > 0 ? logProbabilities / spoken : 0;
    return passage;
}

std::vector<float> WhisperState::languageProbabilities(const std::vector<std::string>& languages, int threads) {
    whisper_context* const context = model_->context();
    // What was encoded last is still there: one token is all that has to be decoded.
    const whisper_token start = whisper_token_sot(context);
    std::vector<float> probabilities(languages.size());
    if (whisper_decode_with_state(context, state_, &start, 1, 0, threads) != 0) {
        return probabilities;
    }
    const std::span<const float> logits(whisper_get_logits_from_state(state_),
                                        static_cast<std::size_t>(whisper_n_vocab(context)));
    const auto logitOf = [&](int language) {
        return logits[static_cast<std::size_t>(whisper_token_lang(context, language))];
    };
    double sum = 0;
    const float base = logitOf(0);
    for (int language = 0; language <= whisper_lang_max_id(); ++language) {
        sum += std::exp(static_cast<double>(logitOf(language) - base));
    }
    for (std::size_t index = 0; index < languages.size(); ++index) {
        const float logit = logitOf(whisper_lang_id(languages[index].c_str()));
        probabilities[index] = static_cast<float>(std::exp(static_cast<double>(logit - base)) / sum);
    }
    return probabilities;
}

} // namespace talkledger
