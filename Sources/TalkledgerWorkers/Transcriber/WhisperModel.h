#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct whisper_context;
struct whisper_state;

namespace talkledger {

/// A word, or a part of one where the language does without spaces; with the space before it where there is one.
struct WhisperWord {
    std::string text;
    double start{0}; ///< seconds of what was heard
    double end{0};

    bool operator==(const WhisperWord&) const = default;
};

/// A passage as the engine heard it, with its own evidence for it.
struct WhisperPassage {
    std::vector<WhisperWord> words;
    double noSpeechProbability{0};
    double meanLogProbability{0}; ///< of its tokens

    std::string text() const;
};

/// A loaded speech model, which any number of states share. Called on any thread.
class WhisperModel {
public:
    /// Throws `SpeechEngineError` for a file that is none or not whole.
    explicit WhisperModel(const std::filesystem::path& path);
    ~WhisperModel();
    WhisperModel(const WhisperModel&) = delete;
    WhisperModel& operator=(const WhisperModel&) = delete;

    whisper_context* context() const { return context_; }

    /// The engine's name of a locale's language, like "ja" for "ja_JP"; absent when the model does not know it.
    std::optional<std::string> language(const std::string& locale) const;

private:
    whisper_context* context_;
};

/// What hears one utterance after the other with a model. Used by one thread at a time.
class WhisperState {
public:
    /// The longest that is heard in one piece, seconds. The engine could take 30, yet its memory grows with it.
    static constexpr double longestPiece = 20;

    struct Hearing {
        std::string language;
        int threads{1};
        bool isHypothesis{false}; ///< soon rather than sure: without a second attempt, and without the words' times
        std::function<bool()> shouldStop;
    };

    /// Throws `SpeechEngineError`.
    explicit WhisperState(std::shared_ptr<const WhisperModel> model);
    ~WhisperState();
    WhisperState(const WhisperState&) = delete;
    WhisperState& operator=(const WhisperState&) = delete;

    /// What is said in samples at 16 kHz; absent after a stop. Throws `SpeechEngineError`.
    std::optional<std::vector<WhisperPassage>> hear(std::span<const float> samples, const Hearing& hearing);

    /// Of each language, how probable it is for what was heard last.
    std::vector<float> languageProbabilities(const std::vector<std::string>& languages, int threads);

private:
    WhisperPassage passage(int segment) const;

    std::shared_ptr<const WhisperModel> model_;
    whisper_state* state_;
};

} // namespace talkledger
