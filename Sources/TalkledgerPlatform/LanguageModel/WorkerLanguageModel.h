#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerPlatform/LanguageModel/SummarizerClient.h"

#include <filesystem>
#include <memory>
#include <string>

namespace talkledger {

/// The language model that the summarizer program runs: the newest of the folder of models. Without one it is
/// unavailable, and says what to do. Called on the main executor, whose context has to outlive it; errors are
/// `WorkerError`. Sessions may go later.
class WorkerLanguageModel final : public SystemLanguageModel, public LanguageModelCheck {
public:
    struct Settings {
        WorkerSettings worker;
        std::filesystem::path modelFolder; ///< of "*.gguf"
    };

    explicit WorkerLanguageModel(Settings settings);
    ~WorkerLanguageModel() override;
    WorkerLanguageModel(const WorkerLanguageModel&) = delete;
    WorkerLanguageModel& operator=(const WorkerLanguageModel&) = delete;

    LanguageModelAvailability availability() const override;
    std::unique_ptr<LanguageModelSession> makeSession(const std::string& instructions) override;
    Task<void> check(std::filesystem::path model) override;

    /// While questions will come, as during a recording, the model stays loaded; one that comes later, from its first
    /// question on.
    void expectQuestions(bool areExpected);

private:
    void holdIfExpected();

    Settings settings_;
    bool areQuestionsExpected_{false};
    std::shared_ptr<SummarizerClient> client_;
};

} // namespace talkledger
