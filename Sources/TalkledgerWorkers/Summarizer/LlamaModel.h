#pragma once

#include "TalkledgerWorkers/Protocol/EngineError.h"

#include <llama.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// Why the engine cannot answer. `what()` is for the user.
class LanguageEngineError : public EngineError {
public:
    using EngineError::EngineError;

    static LanguageEngineError unusable(const std::filesystem::path& model, const std::string& reason);
    static LanguageEngineError cancelled();
};

using Tokens = std::vector<llama_token>;

/// What its library says on its own goes nowhere. Once in a process, before the first model.
void prepareLlama();

/// A language model from a GGUF file, which may hold anything: its words and how it is talked to. Used on one thread.
class LlamaModel {
public:
    enum class Weights { trusted, checked };

    /// Loads the file; throws `LanguageEngineError`. A stop request ends that soon.
    LlamaModel(const std::filesystem::path& path, Weights weights, const std::stop_token& stop);

    llama_model* get() const { return model_.get(); }

    /// How many tokens, prompt and answer together, it can look at.
    std::size_t contextLength() const;

    /// How many numbers one of its layers holds, by and large: the work for a token.
    std::size_t layerSize() const;

    std::size_t vocabularySize() const { return pieces_.size(); }

    /// The text that a token stands for; empty for one that only controls the conversation.
    const std::string& piece(llama_token token) const { return pieces_[static_cast<std::size_t>(token)]; }

    /// Text as it stands: what looks like a control token in it is none.
    Tokens tokenize(std::string_view text) const { return tokenize(text, false); }

    /// A conversation of the instructions and one message, up to where the answer begins, in the model's own form.
    Tokens conversation(const std::string& instructions, const std::string& message) const;

private:
    Tokens tokenize(std::string_view text, bool hasControlTokens) const;
    std::string conversationForm() const;
    void readPieces();

    struct Deleter {
        void operator()(llama_model* model) const { llama_model_free(model); }
    };

    std::unique_ptr<llama_model, Deleter> model_;
    const llama_vocab* vocabulary_{nullptr};
    std::vector<std::string> pieces_;
};

} // namespace talkledger
