#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

#include "TalkledgerPlatform/Speech/SpeechModels.h"
#include "TalkledgerPlatform/Speech/StreamFeed.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechAnalyzer.h"

#include <unistd.h>

#include <string_view>
#include <system_error>
#include <utility>

namespace talkledger {

namespace {

constexpr const char* englishLocale = "en_US";

bool isEnglish(std::string_view locale) {
    return locale.substr(0, locale.find_first_of("_-.@")) == "en";
}

} // namespace

/// What is there is installed; nothing is fetched from here.
class WorkerSpeechRecognition::Assets : public AssetInventory {
public:
    explicit Assets(const WorkerSpeechRecognition& recognition) : recognition_(recognition) {}

    Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) override {
        co_return recognition_.offers(transcriber.locale) ? SpeechAssetStatus::installed
                                                          : SpeechAssetStatus::unsupported;
    }

    Task<std::unique_ptr<SpeechAssetInstallationRequest>>
    assetInstallationRequest(const SpeechTranscriber& /*transcriber*/) override {
        co_return nullptr;
    }

private:
    const WorkerSpeechRecognition& recognition_;
};

std::filesystem::path packagedSpeechModels() {
    return TALKLEDGER_POCKETSPHINX_MODELS;
}

WorkerSpeechRecognition::WorkerSpeechRecognition(Settings settings)
    : settings_(std::move(settings)),
      assets_(std::make_unique<Assets>(*this)),
      silentFiles_(std::make_shared<SilentFiles>()),
      client_(std::make_shared<TranscriberClient>(settings_.worker)) {}

WorkerSpeechRecognition::~WorkerSpeechRecognition() = default;

bool WorkerSpeechRecognition::isAvailable() const {
    return access(settings_.worker.program.c_str(), X_OK) == 0;
}

/// Where there is nothing but English, it stands for every locale: on an English desktop, it is the best guess at what
/// is spoken.
Task<std::optional<std::string>> WorkerSpeechRecognition::supportedLocale(const std::string& equivalentTo) {
    if (SpeechModels::installedIn(settings_.installedModels).know(equivalentTo)) {
        co_return equivalentTo;
    }
    co_return offersEnglish() ? std::optional<std::string>(englishLocale) : std::nullopt;
}

AssetInventory& WorkerSpeechRecognition::assetInventory() {
    return *assets_;
}

Task<std::optional<AudioFormat>>
WorkerSpeechRecognition::bestAvailableAudioFormat(const SpeechTranscriber& /*compatibleWith*/,
                                                  const AudioFormat& /*considering*/) {
    co_return liveAudioFormat;
}

std::unique_ptr<SpeechAnalyzer> WorkerSpeechRecognition::makeAnalyzer(const SpeechTranscriber& transcriber) {
    return std::make_unique<WorkerSpeechAnalyzer>(transcriber, engineFor(transcriber.locale), client_, silentFiles_);
}

bool WorkerSpeechRecognition::offers(const std::string& locale) const {
    return SpeechModels::installedIn(settings_.installedModels).know(locale) ||
           (locale == englishLocale && offersEnglish());
}

SpeechEngineChoice WorkerSpeechRecognition::engineFor(const std::string& locale) const {
    const SpeechModels models = SpeechModels::installedIn(settings_.installedModels);
    if (!models.know(locale)) {
        return {.locale = locale};
    }
    return {.locale = locale,
            .model = models.speech,
            .voiceModel = models.voice,
            .otherLanguages = {settings_.desktopLocale, englishLocale}};
}

bool WorkerSpeechRecognition::offersEnglish() const {
    std::error_code unknown;
    return isEnglish(settings_.desktopLocale) &&
           std::filesystem::is_directory(settings_.modelFolder / "en-us" / "en-us", unknown);
}

} // namespace talkledger
