#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerPlatform/Speech/SilentFiles.h"
#include "TalkledgerPlatform/Speech/TranscriberClient.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace talkledger {

/// Where the distribution's package puts the English model of PocketSphinx.
std::filesystem::path packagedSpeechModels();

/// The recogniser that the transcriber program offers. With a model that the user has installed, that is every language
/// which the model knows, as soon as it has arrived. Without one it is English from the distribution's packages, and
/// only on an English desktop: heard with English ears, another language becomes nonsense. Called on the main executor;
/// errors are `WorkerError`. The executor's context has to outlive it, since its thread may still be letting go of a
/// coroutine that it resumed; its analysers may go later.
class WorkerSpeechRecognition : public SpeechRecognition {
public:
    struct Settings {
        WorkerSettings worker;
        std::string desktopLocale; ///< the language of the user's desktop, like "en_GB"
        std::filesystem::path modelFolder{packagedSpeechModels()};
        std::filesystem::path installedModels{};   ///< the folder of the model files that the user has installed
        AwaitedModelFiles* awaitedModels{nullptr}; ///< that come into it; has to outlive this. Null: none ever come
    };

    explicit WorkerSpeechRecognition(Settings settings);
    ~WorkerSpeechRecognition() override;
    WorkerSpeechRecognition(const WorkerSpeechRecognition&) = delete;
    WorkerSpeechRecognition& operator=(const WorkerSpeechRecognition&) = delete;

    bool isAvailable() const override;
    Task<std::optional<std::string>> supportedLocale(const std::string& equivalentTo) override;
    AssetInventory& assetInventory() override;
    Task<std::optional<AudioFormat>> bestAvailableAudioFormat(const SpeechTranscriber& compatibleWith,
                                                              const AudioFormat& considering) override;
    std::unique_ptr<SpeechAnalyzer> makeAnalyzer(const SpeechTranscriber& transcriber) override;

private:
    class Assets;

    bool offersEnglish() const;
    bool offers(const std::string& locale) const;

    /// The file that will recognise the locale once it is here, one that is on its way if there is any.
    std::optional<AwaitedModelFile> awaitedFor(const std::string& locale) const;
    SpeechEngineChoice engineFor(const std::string& locale) const;

    Settings settings_;
    std::unique_ptr<Assets> assets_;
    std::shared_ptr<SilentFiles> silentFiles_; ///< shared with the analysers, which may go later
    std::shared_ptr<TranscriberClient> client_;
};

} // namespace talkledger
