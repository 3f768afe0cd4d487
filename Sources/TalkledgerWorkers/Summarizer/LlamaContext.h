#pragma once

#include "TalkledgerWorkers/Summarizer/LlamaModel.h"

#include <cstddef>
#include <memory>
#include <span>
#include <stop_token>

namespace talkledger {

/// What a model has read last. A prompt that begins as the last one did is read from where it differs. Used on one
/// thread; a stop request or a failure, a `LanguageEngineError`, leaves what has been read until then.
class LlamaContext {
public:
    enum class Reading {
        exact,
        /// When the last prompt's beginning has given way, what comes after is kept as it was read, moved to its new
        /// place, though it was read in view of what is gone.
        approximate
    };

    /// The model has to outlive it.
    LlamaContext(const LlamaModel& model, int threads);

    /// Reads a prompt that is not empty, with room for an answer behind it. Returns how many of its tokens had been
    /// read before.
    std::size_t read(const Tokens& prompt, std::size_t answerRoom, Reading reading, const std::stop_token& stop);

    /// Reads on.
    void append(std::span<const llama_token> tokens, const std::stop_token& stop);

    /// How likely each token of the vocabulary is to come next; higher is likelier.
    std::span<const float> scores() const;

private:
    /// A part of what has been read that stands elsewhere in a new prompt.
    struct Run {
        std::size_t readPosition{0};
        std::size_t position{0};
        std::size_t length{0};
    };

    void makeRoom(std::size_t tokens);
    std::size_t commonPrefix(const Tokens& prompt) const;
    Run movedRun(const Tokens& prompt, std::size_t prefix) const;
    bool move(const Tokens& prompt, std::size_t prefix, const Run& run, const std::stop_token& stop);
    void forgetAfter(std::size_t length);

    struct Piece {
        std::span<const llama_token> tokens;
        std::size_t position{0};
        int sequence{0};
        bool isScored{false}; ///< the scores after its last token are wanted
    };

    void decode(const Piece& piece, const std::stop_token& stop);

    struct Deleter {
        void operator()(llama_context* context) const { llama_free(context); }
    };

    using Context = std::unique_ptr<llama_context, Deleter>;

    Context makeContext(std::size_t length) const;

    const LlamaModel& model_;
    int threads_;
    std::size_t batchLength_; ///< in tokens
    Context context_;
    Tokens read_;
    std::size_t exactLength_{0}; ///< of `read_`: what was read in view of just what stands before it
};

} // namespace talkledger
