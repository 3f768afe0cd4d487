#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

#include "TalkledgerPlatform/Speech/Transcription.h"

#include <boost/system/system_error.hpp>
#include <unistd.h>

#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

namespace talkledger {

namespace {

constexpr const char* englishLocale = "en_US";

bool isEnglish(std::string_view locale) {
    return locale.substr(0, locale.find_first_of("_-.@")) == "en";
}

/// What the operations of one analyser share: each may outlive the analyser while it is under way.
struct Analysis {
    std::string locale;
    std::weak_ptr<TranscriberClient> client;
    std::shared_ptr<SilentFiles> silentFiles;
    std::shared_ptr<Transcription> transcription;
    std::function<void(double)> progress;
    std::optional<SilentFiles::Search> search;
    bool heardSpeech{false};

    void cancel() noexcept {
        if (const auto living = client.lock()) {
            living->cancel(transcription);
        } else {
            transcription->cancel();
        }
    }

    void tellProgress(double share) const {
        if (progress) {
            progress(share);
        }
    }

    void rememberSilence() const {
        if (search && !heardSpeech && !transcription->isCancelled()) {
            silentFiles->remember(*search);
        }
    }
};

Task<void> start(std::shared_ptr<Analysis> analysis, SpeechInputFile file) {
    const std::filesystem::path path = std::filesystem::absolute(file.path);
    const auto search = SilentFiles::search(path, analysis->locale);
    analysis->progress = std::move(file.progress);
    if (search && analysis->silentFiles->knows(*search)) {
        analysis->transcription->tellFinished();
        analysis->tellProgress(1);
        co_return;
    }
    analysis->search = search;
    TranscribeFile request{.request = 0, .path = path, .locale = analysis->locale, .startTime = file.startTime};
    if (const auto client = analysis->client.lock()) {
        client->start(analysis->transcription, std::move(request));
    } else {
        analysis->transcription->tellFailed(WorkerError::closed());
    }
    co_await analysis->transcription->started();
}

Task<std::optional<SpeechTranscriptionResult>> nextResult(std::shared_ptr<Analysis> analysis) {
    try {
        Transcription& transcription = *analysis->transcription;
        for (auto event = co_await transcription.next(); event.has_value(); event = co_await transcription.next()) {
            if (const auto* result = std::get_if<TranscriptionResult>(&*event)) {
                analysis->heardSpeech = true;
                co_return SpeechTranscriptionResult{
                    .text = result->text,
                    .audioTimeRange = {.start = result->start, .duration = result->duration},
                    .isFinal = true};
            }
            analysis->tellProgress(std::get<TranscriptionProgress>(*event).share);
        }
    } catch (const boost::system::system_error&) {
        analysis->cancel(); // nobody waits for results any more
        throw;
    }
    analysis->rememberSilence();
    co_return std::nullopt;
}

Task<void> finish(std::shared_ptr<Analysis> analysis) {
    co_await analysis->transcription->delivered();
}

class WorkerSpeechAnalyzer : public SpeechAnalyzer {
public:
    explicit WorkerSpeechAnalyzer(std::shared_ptr<Analysis> analysis) : analysis_(std::move(analysis)) {}

    ~WorkerSpeechAnalyzer() override { analysis_->cancel(); }

    WorkerSpeechAnalyzer(const WorkerSpeechAnalyzer&) = delete;
    WorkerSpeechAnalyzer& operator=(const WorkerSpeechAnalyzer&) = delete;

    Task<void> start(SpeechInputFile file) override { return talkledger::start(analysis_, std::move(file)); }

    Task<std::optional<SpeechTranscriptionResult>> nextResult() override { return talkledger::nextResult(analysis_); }

    Task<void> finalizeAndFinishThroughEndOfInput() override { return finish(analysis_); }

    void cancelAndFinishNow() noexcept override { analysis_->cancel(); }

private:
    std::shared_ptr<Analysis> analysis_;
};

} // namespace

/// What the packages brought is installed; nothing else can be.
class WorkerSpeechRecognition::Assets : public AssetInventory {
public:
    explicit Assets(const WorkerSpeechRecognition& recognition) : recognition_(recognition) {}

    Task<SpeechAssetStatus> status(const SpeechTranscriber& transcriber) override {
        const bool isOffered = transcriber.locale == englishLocale && recognition_.offersEnglish();
        co_return isOffered ? SpeechAssetStatus::installed : SpeechAssetStatus::unsupported;
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

Task<std::optional<std::string>> WorkerSpeechRecognition::supportedLocale(const std::string& equivalentTo) {
    if (isEnglish(equivalentTo) && offersEnglish()) {
        co_return englishLocale;
    }
    co_return std::nullopt;
}

AssetInventory& WorkerSpeechRecognition::assetInventory() {
    return *assets_;
}

std::unique_ptr<SpeechAnalyzer> WorkerSpeechRecognition::makeAnalyzer(const SpeechTranscriber& transcriber) {
    auto analysis = std::make_shared<Analysis>();
    analysis->locale = transcriber.locale;
    analysis->client = client_;
    analysis->silentFiles = silentFiles_;
    analysis->transcription = client_->makeTranscription();
    return std::make_unique<WorkerSpeechAnalyzer>(std::move(analysis));
}

bool WorkerSpeechRecognition::offersEnglish() const {
    std::error_code unknown;
    return isEnglish(settings_.desktopLocale) &&
           std::filesystem::is_directory(settings_.modelFolder / "en-us" / "en-us", unknown);
}

} // namespace talkledger
