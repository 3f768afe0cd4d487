#include "TalkledgerWorkers/Summarizer/LanguageEngine.h"

#include "TalkledgerWorkers/Summarizer/AnswerWriter.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <system_error>
#include <utility>

namespace talkledger {

namespace {

std::filesystem::file_time_type modificationTime(const std::filesystem::path& path) {
    std::error_code unknown;
    return std::filesystem::last_write_time(path, unknown);
}

LanguageEngineError promptTooLong(std::size_t tokens, std::size_t room) {
    return LanguageEngineError("The transcript is too long for this language model: it takes " +
                               std::to_string(tokens) + " tokens, and the model has room for " + std::to_string(room) +
                               ". Choose a model with a longer context in the settings.");
}

} // namespace

std::string schemaText(const GenerationSchema& schema) {
    nlohmann::ordered_json properties;
    nlohmann::ordered_json required = nlohmann::ordered_json::array();
    for (const GenerationProperty& property : schema.properties) {
        nlohmann::ordered_json& form = properties[property.name];
        form["type"] = property.isList ? "array" : "string";
        if (property.isList) {
            form["items"] = {{"type", "string"}};
        }
        if (property.maximumCount) {
            form["maxItems"] = *property.maximumCount;
        }
        form["description"] = property.description;
        required.push_back(property.name);
    }
    const nlohmann::ordered_json text = {{"title", schema.type},
                                         {"description", schema.description},
                                         {"type", "object"},
                                         {"properties", properties},
                                         {"required", required}};
    return "Answer with a JSON object of this schema and nothing else:\n" + text.dump();
}

LanguageEngine::Loaded::Loaded(const std::filesystem::path& file, LlamaModel::Weights weights, int threads,
                               const std::stop_token& stop)
    : path(file), modified(modificationTime(file)), model(file, weights, stop), context(model, threads) {}

LanguageEngine::LanguageEngine(int threads) : threads_(threads) {}

ModelAnswer LanguageEngine::answer(const AskModel& question, const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw LanguageEngineError::cancelled();
    }
    load(question.model, stop);
    return answer(*loaded_, question, stop);
}

ModelAnswer LanguageEngine::check(const CheckLanguageModel& request, const std::stop_token& stop) const {
    constexpr int answerTokens = 32;
    Loaded loaded(request.model, LlamaModel::Weights::checked, threads_, stop);
    const GenerationProperty greeting{.name = "answer", .description = "", .isList = false, .maximumCount = {}};
    const AskModel question{.request = request.request,
                            .model = request.model,
                            .instructions = "Answer in one word.",
                            .prompt = "Say hello.",
                            .schema = {.type = "Greeting", .description = "", .properties = {greeting}},
                            .includesSchema = true,
                            .maximumTokens = answerTokens,
                            .isProvisional = false};
    return answer(loaded, question, stop);
}

void LanguageEngine::load(const std::filesystem::path& model, const std::stop_token& stop) {
    if (loaded_ && loaded_->path == model && loaded_->modified == modificationTime(model)) {
        return;
    }
    unload();
    loaded_ = std::make_unique<Loaded>(model, LlamaModel::Weights::trusted, threads_, stop);
}

void LanguageEngine::unload() {
    loaded_.reset();
}

/// The schema goes with the instructions, so that only the end of the prompt grows with a transcript.
ModelAnswer LanguageEngine::answer(Loaded& loaded, const AskModel& question, const std::stop_token& stop) {
    const AnswerGrammar grammar(question.schema);
    std::string instructions = question.instructions;
    if (question.includesSchema) {
        instructions += "\n\n" + schemaText(question.schema);
    }
    const Tokens prompt = loaded.model.conversation(instructions, question.prompt);
    const auto mostTokens = static_cast<std::size_t>(question.maximumTokens);
    const std::size_t room = loaded.model.contextLength() - std::min(mostTokens, loaded.model.contextLength());
    if (prompt.empty() || prompt.size() > room) {
        throw promptTooLong(prompt.size(), room);
    }
    const auto reading = question.isProvisional ? LlamaContext::Reading::approximate : LlamaContext::Reading::exact;
    const std::size_t reused = loaded.context.read(prompt, mostTokens, reading, stop);
    AnswerWriter writer(loaded.model, loaded.context, grammar);
    std::string text = writer.write(mostTokens, stop);
    if (!nlohmann::json::accept(text)) {
        throw LanguageEngineError("The language model's answer is not whole. Choose another model in the settings.");
    }
    return {.request = question.request,
            .text = std::move(text),
            .promptTokens = static_cast<std::int64_t>(prompt.size()),
            .reusedTokens = static_cast<std::int64_t>(reused),
            .answerTokens = static_cast<std::int64_t>(writer.tokenCount())};
}

} // namespace talkledger
