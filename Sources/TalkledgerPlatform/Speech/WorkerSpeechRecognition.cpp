#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

#include "TalkledgerPlatform/Speech/SpeechModels.h"
#include "TalkledgerPlatform/Speech/StreamFeed.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechAnalyzer.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

constexpr const char* englishLocale = "en_US";

bool isEnglish(std::string_view locale) {
    return locale.substr(0, locale.find_first_of("_-.@")) == "en";
}

/// A model that the user has asked for, on its way. Nothing is fetched from here: this waits for it.
class ArrivalOfModel final : public SpeechAssetInstallationRequest {
public:
    ArrivalOfModel(AwaitedModelFiles& models, std::string name) : models_(models), name_(std::move(name)) {}

    Task<void> downloadAndInstall() override { return models_.arrival(name_); }

private:
    AwaitedModelFiles& models_;
    std::string name_;
};

} // namespace

class WorkerSpeechRecognition::Assets : public AssetInventory {
public:
    explicit Assets(const WorkerSpeechRecognition& recognition) : recognition_(recognition) {}

    Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) override {
        if (recognition_.offers(transcriber.locale)) {
            co_return SpeechAssetStatus::installed;
        }
        const std::optional<AwaitedModelFile> awaited = recognition_.awaitedFor(transcriber.locale);
        co_return !awaited    ? SpeechAssetStatus::unsupported
        : awaited->isOnItsWay ? SpeechAssetStatus::downloading
                              : SpeechAssetStatus::supported;
    }

    /// A download that broke off goes on only when the user says so: it is nothing to wait for.
    Task<std::unique_ptr<SpeechAssetInstallationRequest>>
    assetInstallationRequest(const SpeechTranscriber& transcriber) override {
        const std::optional<AwaitedModelFile> awaited = recognition_.awaitedFor(transcriber.locale);
        if (!awaited || !awaited->isOnItsWay) {
            co_return nullptr;
        }
        co_return std::make_unique<ArrivalOfModel>(*recognition_.settings_.awaitedModels, awaited->name);
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
/// is spoken, and is not kept waiting by a model that is still on its way.
Task<std::optional<std::string>> WorkerSpeechRecognition::supportedLocale(const std::string& equivalentTo) {
    if (SpeechModels::installedIn(settings_.installedModels).know(equivalentTo)) {
        co_return equivalentTo;
    }
    if (offersEnglish()) {
        co_return englishLocale;
    }
    co_return awaitedFor(equivalentTo) ? std::optional(equivalentTo) : std::nullopt;
}

AssetInventory& WorkerSpeechRecognition::assetInventory() {
    return *assets_;
}

Task<std::optional<AudioFormat>>
WorkerSpeechRecognition::bestAvailableAudioFormat(const SpeechTranscriber& /*compatibleWith*/,
                                                  const AudioFormat& /*considering*/) {
    co_return liveAudioFormat;
}

/// Without a model, the worker would take everything for English.
std::unique_ptr<SpeechAnalyzer> WorkerSpeechRecognition::makeAnalyzer(const SpeechTranscriber& transcriber) {
    if (!offers(transcriber.locale)) {
        throw WorkerError::failed("There is no speech model for " + transcriber.locale + ". Get one in the settings.");
    }
    return std::make_unique<WorkerSpeechAnalyzer>(transcriber, engineFor(transcriber.locale), client_, silentFiles_);
}

bool WorkerSpeechRecognition::offers(const std::string& locale) const {
    return SpeechModels::installedIn(settings_.installedModels).know(locale) ||
           (locale == englishLocale && offersEnglish());
}

std::optional<AwaitedModelFile> WorkerSpeechRecognition::awaitedFor(const std::string& locale) const {
    if (settings_.awaitedModels == nullptr) {
        return std::nullopt;
    }
    std::vector<AwaitedModelFile> files = settings_.awaitedModels->awaited(ModelFileKind::speech);
    std::erase_if(files, [&](const AwaitedModelFile& file) { return !modelKnows(file.name, locale); });
    const auto best = std::ranges::max_element(files, {}, &AwaitedModelFile::isOnItsWay);
    return best == files.end() ? std::nullopt : std::optional(*best);
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
