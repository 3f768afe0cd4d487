#pragma once

#include "TalkledgerWorkers/Summarizer/AnswerGrammar.h"
#include "TalkledgerWorkers/Summarizer/LlamaContext.h"
#include "TalkledgerWorkers/Summarizer/LlamaModel.h"

#include <cstddef>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

namespace talkledger {

/// Lets a model that has read a prompt write its answer: always the likeliest token with which the grammar allows to go
/// on, and an end in time, so that the answer is whole. Used once, on one thread.
class AnswerWriter {
public:
    AnswerWriter(const LlamaModel& model, LlamaContext& context, const AnswerGrammar& grammar);

    /// Throws `LanguageEngineError`.
    std::string write(std::size_t mostTokens, const std::stop_token& stop);

    std::size_t tokenCount() const { return tokenCount_; }

    /// The likeliest token that can come next; absent when none can.
    static std::optional<llama_token> likeliest(const LlamaModel& model, std::span<const float> scores,
                                                const AnswerCursor& cursor);

private:
    bool hasToClose(std::size_t mostTokens) const;
    bool writeOn(const std::stop_token& stop);
    void writeForced(const std::string& text);
    bool writeLikeliest(const std::stop_token& stop);
    void close();

    const LlamaModel& model_;
    LlamaContext& context_;
    AnswerCursor cursor_;
    std::string text_;
    Tokens unread_; ///< the last tokens of the text, which the model has not read yet
    std::size_t tokenCount_{0};
    bool isClosed_{false}; ///< before the model came to an end
};

} // namespace talkledger
