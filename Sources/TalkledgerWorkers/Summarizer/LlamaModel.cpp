#include "TalkledgerWorkers/Summarizer/LlamaModel.h"

#include <ggml-backend.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <system_error>
#include <utility>

namespace talkledger {

namespace {

// Stand for the two texts of a conversation in its form; nothing that a template would change.
constexpr std::string_view instructionsMark = "TALKLEDGER-INSTRUCTIONS";
constexpr std::string_view messageMark = "TALKLEDGER-MESSAGE";

constexpr std::string_view adviceOnFile = " Choose another model in the settings.";

bool continuesLoading(float /*share*/, void* stop) {
    return !static_cast<const std::stop_token*>(stop)->stop_requested();
}

/// Empty for a template that the library does not know.
std::string applyTemplate(const char* form, const std::string& instructions, const std::string& message) {
    const std::array<llama_chat_message, 2> messages{
        {{.role = "system", .content = instructions.c_str()}, {.role = "user", .content = message.c_str()}}};
    std::string text(4096, '\0');
    const std::int32_t length = llama_chat_apply_template(form, messages.data(), messages.size(), true, text.data(),
                                                          static_cast<std::int32_t>(text.size()));
    if (length < 0 || static_cast<std::size_t>(length) > text.size()) {
        return {};
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace

LanguageEngineError LanguageEngineError::unusable(const std::filesystem::path& model, const std::string& reason) {
    return LanguageEngineError("The file \"" + model.filename().string() +
                               "\" cannot be used as a language model: " + reason + std::string(adviceOnFile));
}

LanguageEngineError LanguageEngineError::cancelled() {
    return LanguageEngineError("The request was cancelled.");
}

void prepareLlama() {
    llama_log_set([](ggml_log_level, const char*, void*) {}, nullptr);
    ggml_backend_load_all();
}

LlamaModel::LlamaModel(const std::filesystem::path& path, Weights weights, const std::stop_token& stop) {
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(path, unknown)) {
        throw LanguageEngineError::unusable(path, "it is not there.");
    }
    llama_model_params parameters = llama_model_default_params();
    parameters.n_gpu_layers = 0;
    parameters.check_tensors = weights == Weights::checked;
    parameters.progress_callback = continuesLoading;
    std::stop_token stopped = stop;
    parameters.progress_callback_user_data = &stopped;
    model_.reset(llama_model_load_from_file(path.c_str(), parameters));
    if (stop.stop_requested()) {
        throw LanguageEngineError::cancelled();
    }
    if (!model_) {
        throw LanguageEngineError::unusable(path, "it is damaged, not complete, or of a kind that is not known here.");
    }
    vocabulary_ = llama_model_get_vocab(model_.get());
    if (!llama_model_has_decoder(model_.get()) || llama_model_has_encoder(model_.get()) ||
        llama_vocab_type(vocabulary_) == LLAMA_VOCAB_TYPE_NONE) {
        throw LanguageEngineError::unusable(path, "it is a model that does not write text.");
    }
    readPieces();
}

std::size_t LlamaModel::contextLength() const {
    return static_cast<std::size_t>(std::max(0, llama_model_n_ctx_train(model_.get())));
}

std::size_t LlamaModel::layerSize() const {
    const std::uint64_t vocabulary = pieces_.size() * static_cast<std::uint64_t>(llama_model_n_embd(model_.get()));
    const std::uint64_t all = llama_model_n_params(model_.get());
    const auto layers = static_cast<std::uint64_t>(std::max(1, llama_model_n_layer(model_.get())));
    return (all - std::min(all, 2 * vocabulary)) / layers;
}

/// The texts stay as they are whatever the form is, and only the form itself has control tokens: nothing that was said
/// can end the conversation or begin another one.
Tokens LlamaModel::conversation(const std::string& instructions, const std::string& message) const {
    const std::string form = conversationForm();
    const std::size_t instructionsPosition = form.find(instructionsMark);
    const std::size_t messagePosition = form.find(messageMark);
    const std::size_t instructionsEnd = instructionsPosition + instructionsMark.size();
    Tokens tokens;
    if (llama_vocab_get_add_bos(vocabulary_)) {
        tokens.push_back(llama_vocab_bos(vocabulary_));
    }
    const auto append = [&tokens](const Tokens& further) {
        tokens.insert(tokens.end(), further.begin(), further.end());
    };
    append(tokenize(std::string_view(form).substr(0, instructionsPosition), true));
    append(tokenize(instructions, false));
    append(tokenize(std::string_view(form).substr(instructionsEnd, messagePosition - instructionsEnd), true));
    append(tokenize(message, false));
    append(tokenize(std::string_view(form).substr(messagePosition + messageMark.size()), true));
    if (tokens.size() > 1 && tokens[0] == tokens[1] && tokens[0] == llama_vocab_bos(vocabulary_)) {
        tokens.erase(tokens.begin()); // some forms begin with it themselves
    }
    return tokens;
}

Tokens LlamaModel::tokenize(std::string_view text, bool hasControlTokens) const {
    Tokens tokens(text.size() + 2); // a token for each byte, a space before them
    const std::int32_t count =
        llama_tokenize(vocabulary_, text.data(), static_cast<std::int32_t>(text.size()), tokens.data(),
                       static_cast<std::int32_t>(tokens.size()), false, hasControlTokens);
    tokens.resize(static_cast<std::size_t>(std::max(0, count)));
    return tokens;
}

/// A model that names no form, or none that is known and takes instructions, is talked to in the most common one.
std::string LlamaModel::conversationForm() const {
    const std::string instructions(instructionsMark);
    const std::string message(messageMark);
    const char* own = llama_model_chat_template(model_.get(), nullptr);
    for (const char* name : {own, "chatml"}) {
        std::string form = name == nullptr ? "" : applyTemplate(name, instructions, message);
        const std::size_t position = form.find(instructionsMark);
        if (position != std::string::npos && form.find(messageMark, position) != std::string::npos) {
            return form;
        }
    }
    return instructions + "\n\n" + message + "\n\n";
}

void LlamaModel::readPieces() {
    pieces_.resize(static_cast<std::size_t>(llama_vocab_n_tokens(vocabulary_)));
    std::array<char, 256> text{}; // no word is longer; what is counts as none
    for (std::size_t token = 0; token < pieces_.size(); ++token) {
        const std::int32_t length = llama_token_to_piece(vocabulary_, static_cast<llama_token>(token), text.data(),
                                                         static_cast<std::int32_t>(text.size()), 0, false);
        pieces_[token].assign(text.data(), static_cast<std::size_t>(std::max(0, length)));
    }
}

} // namespace talkledger
