#include "TalkledgerPlatform/LanguageModel/WorkerLanguageModel.h"

#include "TalkledgerPlatform/Files/ModelFileNames.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"

#include <unistd.h>

#include <optional>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

LanguageModelAvailability unavailable(LanguageModelLack lack) {
    return {.isAvailable = false, .reason = UnavailableReason::modelNotReady, .lack = lack};
}

/// Absent where there is none.
std::optional<std::filesystem::path> newestModel(const std::filesystem::path& folder) {
    const std::vector<std::filesystem::path> files = modelFilesIn(folder, ModelFileKind::language);
    return files.empty() ? std::nullopt : std::optional(files.front());
}

/// May outlive the client, then as one that is closed.
class Session final : public LanguageModelSession {
public:
    Session(const std::shared_ptr<SummarizerClient>& client, std::filesystem::path model, std::string instructions)
        : client_(client), model_(std::move(model)), instructions_(std::move(instructions)) {}

    Task<std::string> respond(const std::string& prompt, const GenerationSchema& schema, bool includeSchemaInPrompt,
                              const GenerationOptions& options) override {
        const std::shared_ptr<SummarizerClient> client = client_.lock();
        if (!client) {
            throw WorkerError::closed("The language model");
        }
        return textOf(client->ask({.request = 0,
                                   .model = model_,
                                   .instructions = instructions_,
                                   .prompt = prompt,
                                   .schema = schema,
                                   .includesSchema = includeSchemaInPrompt,
                                   .maximumTokens = options.maximumResponseTokens,
                                   .isProvisional = options.isProvisional}));
    }

private:
    static Task<std::string> textOf(Task<ModelAnswer> answering) {
        ModelAnswer answer = co_await std::move(answering);
        co_return std::move(answer.text);
    }

    std::weak_ptr<SummarizerClient> client_;
    std::filesystem::path model_;
    std::string instructions_;
};

/// A model on which the engine breaks down is no engine's fault to the user.
Task<void> checked(Task<ModelAnswer> checking, std::string name) {
    try {
        co_await std::move(checking);
    } catch (const WorkerError& error) {
        if (error.failure() != WorkerError::Case::stopped && error.failure() != WorkerError::Case::unresponsive) {
            throw;
        }
        throw WorkerError::failed("The file \"" + name +
                                  "\" cannot be used as a language model: it is damaged, or of a kind that is not "
                                  "known here. Choose another model in the settings.");
    }
}

} // namespace

WorkerLanguageModel::WorkerLanguageModel(Settings settings)
    : settings_(std::move(settings)), client_(std::make_shared<SummarizerClient>(settings_.worker)) {}

WorkerLanguageModel::~WorkerLanguageModel() = default;

LanguageModelAvailability WorkerLanguageModel::availability() const {
    if (access(settings_.worker.program.c_str(), X_OK) != 0) {
        return unavailable(LanguageModelLack::engine);
    }
    if (!newestModel(settings_.modelFolder)) {
        return unavailable(LanguageModelLack::model);
    }
    return {.isAvailable = true, .reason = UnavailableReason::unknown, .lack = {}};
}

/// Another model than the one that was held may be meant by now, and its program another one.
std::unique_ptr<LanguageModelSession> WorkerLanguageModel::makeSession(const std::string& instructions) {
    holdIfExpected();
    return std::make_unique<Session>(client_, newestModel(settings_.modelFolder).value_or(std::filesystem::path()),
                                     instructions);
}

Task<void> WorkerLanguageModel::check(std::filesystem::path model) {
    const std::filesystem::path file = std::filesystem::absolute(model);
    return checked(client_->check({.request = 0, .model = file}), file.filename().string());
}

void WorkerLanguageModel::expectQuestions(bool areExpected) {
    areQuestionsExpected_ = areExpected;
    if (areExpected) {
        holdIfExpected();
    } else {
        client_->release();
    }
}

void WorkerLanguageModel::holdIfExpected() {
    if (const auto model = newestModel(settings_.modelFolder);
        areQuestionsExpected_ && model && availability().isAvailable) {
        client_->hold(*model);
    }
}

} // namespace talkledger
