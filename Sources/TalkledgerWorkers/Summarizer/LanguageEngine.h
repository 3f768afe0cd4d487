#pragma once

#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"
#include "TalkledgerWorkers/Summarizer/AnswerGrammar.h"
#include "TalkledgerWorkers/Summarizer/LlamaContext.h"
#include "TalkledgerWorkers/Summarizer/LlamaModel.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>

namespace talkledger {

/// Answers with one language model at a time, which stays loaded, with what it has read, for the next question. Errors
/// are `LanguageEngineError`; a stop request is one, within a moment. Used on one thread.
class LanguageEngine {
public:
    explicit LanguageEngine(int threads);

    /// An answer that is whole within its greatest length, whatever the model writes.
    ModelAnswer answer(const AskModel& question, const std::stop_token& stop);

    /// The answer to a small question by a model that is loaded for this alone.
    ModelAnswer check(const CheckLanguageModel& request, const std::stop_token& stop) const;

    void load(const std::filesystem::path& model, const std::stop_token& stop);

    /// Gives the memory back.
    void unload();

private:
    struct Loaded {
        Loaded(const std::filesystem::path& file, LlamaModel::Weights weights, int threads,
               const std::stop_token& stop);

        std::filesystem::path path;
        std::filesystem::file_time_type modified;
        LlamaModel model;
        LlamaContext context;
    };

    static ModelAnswer answer(Loaded& loaded, const AskModel& question, const std::stop_token& stop);

    int threads_;
    std::unique_ptr<Loaded> loaded_;
};

/// What a model is told of the schema.
std::string schemaText(const GenerationSchema& schema);

} // namespace talkledger
