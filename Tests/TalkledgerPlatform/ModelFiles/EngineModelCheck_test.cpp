#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestLanguageModel.h"
#include "TalkledgerCore/Presentation/ModelFilePresentation.h"
#include "TalkledgerPlatform/LanguageModel/WorkerLanguageModel.h"
#include "TalkledgerPlatform/ModelFiles/EngineModelCheck.h"
#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"
#include "TalkledgerWorkers/SpeechModelWriter.h"

#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

namespace talkledger {
namespace {

using Case = ModelFileError::Case;

/// The user's own files, tried with the real engines in the real workers.
class EngineModelCheckTest : public ::testing::Test {
protected:
    static WorkerSettings worker(const char* name) {
        WorkerSettings settings;
        settings.program = workerProgram(name);
        return settings;
    }

    std::optional<ModelFileError> failureOf(const std::string& name, const std::string& content) {
        std::ofstream(home_ / name, std::ios::binary) << content;
        try {
            testing::runTask(context_, folder_.install(home_ / name));
        } catch (const ModelFileError& error) {
            return error;
        }
        return std::nullopt;
    }

    static std::string contentOf(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string speechModel(const testing::CannedModel& model = {}) {
        testing::writeModel(home_ / "model", model);
        return contentOf(home_ / "model");
    }

    std::string voiceModel() {
        testing::writeVoiceModel(home_ / "model", true);
        return contentOf(home_ / "model");
    }

    std::string languageModel() {
        testing::writeCannedLanguageModel(home_ / "model", testing::cannedSummary());
        return contentOf(home_ / "model");
    }

    static std::string cut(const std::string& content) { return content.substr(0, content.size() / 2); }

    /// The same file with other sizes in its head.
    static std::string hostile(std::string content) {
        for (std::size_t place = 8; place < 40; ++place) {
            content[place] = '\x7F';
        }
        return content;
    }

    boost::asio::io_context context_; ///< outlives what waits on it
    testing::TemporaryFolder home_;
    WorkerLanguageModel language_{{.worker = worker("talkledger-summarizer"), .modelFolder = home_ / "Models"}};
    EngineModelCheck check_{worker("talkledger-transcriber"), language_};
    ModelFolder folder_{home_ / "Models", check_};
};

TEST_F(EngineModelCheckTest, TakesWhatWorksAndRefusesTheRestWhateverItDoesToTheWorker) {
    const std::string speech = speechModel();
    const std::string voice = voiceModel();
    const std::string language = languageModel();

    const struct {
        const char* name;
        std::string content;
        std::optional<Case> failure;
        const char* installedAs{nullptr}; ///< its own name unless told
    } files[] = {
        {"good.bin", speech, {}, "ggml-good.bin"},
        {"ggml-voice.bin", voice, {}, "ggml-silero-voice.bin"},
        {"good.gguf", language, {}},
        {"ggml-silero-is-none.bin", speech, {}, "ggml-speech-silero-is-none.bin"},
        {"ggml-cut.bin", cut(speech), Case::notUsable},
        {"ggml-silero-cut.bin", cut(voice), Case::notUsable},
        {"cut.gguf", cut(language), Case::notUsable},
        {"ggml-hostile.bin", hostile(speech), Case::notUsable},
        {"ggml-silero-hostile.bin", hostile(voice), Case::notUsable},
        {"hostile.gguf", hostile(language), Case::notUsable},
        {"ggml-ends-the-worker.bin", speechModel({.requiredWords = {"a", "b", "c"}}), Case::notUsable},
        {"ggml-foreign.bin", "lmgg, says a letter", Case::notUsable},
        {"foreign.gguf", "GGUF, says a letter", Case::notUsable},
        {"picture.bin", "\x89PNG", Case::notAModel},
        {"empty.gguf", "", Case::notAModel},
        {"ggml-again.bin", speech, {}},
        {"again.gguf", language, {}},
    };

    for (const auto& file : files) {
        const std::optional<ModelFileError> failure = failureOf(file.name, file.content);
        EXPECT_EQ(failure ? std::optional(failure->failure()) : std::nullopt, file.failure) << file.name;
        const char* const name = file.installedAs == nullptr ? file.name : file.installedAs;
        EXPECT_EQ(std::filesystem::exists(home_ / "Models" / name), !file.failure) << file.name;
        if (failure) {
            EXPECT_NE(modelFileFailure(*failure, {DisplayLanguage::japanese}), "") << file.name;
        }
    }
    EXPECT_EQ(folder_.installed(ModelFileKind::speech).size(), 3U);
    EXPECT_EQ(folder_.installed(ModelFileKind::language).size(), 2U);
}

TEST_F(EngineModelCheckTest, SaysThatItIsTheEngineThatIsMissing) {
    WorkerLanguageModel language({.worker = worker("none"), .modelFolder = home_ / "Models"});
    EngineModelCheck check(worker("none"), language);
    for (const ModelFileKind kind : {ModelFileKind::speech, ModelFileKind::language}) {
        try {
            testing::runTask(context_, check.check(kind, home_ / "any"));
            ADD_FAILURE();
        } catch (const ModelFileError& error) {
            EXPECT_EQ(error.failure(), Case::engineMissing);
        }
    }
}

} // namespace
} // namespace talkledger
