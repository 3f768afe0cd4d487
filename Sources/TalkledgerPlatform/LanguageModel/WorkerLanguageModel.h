#pragma once

#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerPlatform/LanguageModel/SummarizerClient.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace talkledger {

/// The language model that the summarizer program runs: the file that the user chose, else the newest of the folder of
/// models. Without one it is unavailable, and says what to do. Called on the main executor, whose context has to
/// outlive it; errors are `WorkerError`. Sessions may go later.
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

    /// A file anywhere, or none in particular.
    void choose(std::optional<std::filesystem::path> model);

    /// While questions will come, as during a recording, the model stays loaded.
    void expectQuestions(bool areExpected);

private:
    std::optional<std::filesystem::path> modelFile() const;

    Settings settings_;
    std::optional<std::filesystem::path> chosen_;
    std::shared_ptr<SummarizerClient> client_;
};

} // namespace talkledger
