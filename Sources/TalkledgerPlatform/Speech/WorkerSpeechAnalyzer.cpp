#include "TalkledgerPlatform/Speech/WorkerSpeechAnalyzer.h"

#include "TalkledgerPlatform/Speech/StreamFeed.h"
#include "TalkledgerPlatform/Speech/Transcription.h"

#include <boost/system/system_error.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace talkledger {

struct WorkerSpeechAnalyzer::Analysis {
    SpeechTranscriber transcriber;
    SpeechEngineChoice engine;
    std::weak_ptr<TranscriberClient> client;
    std::shared_ptr<SilentFiles> silentFiles;
    std::shared_ptr<Transcription> transcription;
    std::function<void(double)> progress;
    std::optional<SilentFiles::Search> search;
    bool heardSpeech{false};

    std::shared_ptr<TranscriberClient> livingClient() const {
        if (auto living = client.lock()) {
            return living;
        }
        throw WorkerError::closed(speechRecogniserName);
    }

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

Task<void> WorkerSpeechAnalyzer::start(std::shared_ptr<Analysis> analysis, SpeechInputFile file) {
    const std::filesystem::path path = std::filesystem::absolute(file.path);
    const auto search = SilentFiles::search(path, analysis->engine);
    analysis->progress = std::move(file.progress);
    if (search && analysis->silentFiles->knows(*search)) {
        analysis->transcription->tellFinished();
        analysis->tellProgress(1);
        co_return;
    }
    analysis->search = search;
    TranscribeFile request{.request = 0, .path = path, .engine = analysis->engine, .startTime = file.startTime};
    analysis->livingClient()->start(analysis->transcription, std::move(request));
    co_await analysis->transcription->started();
}

/// The engine is loaded by then, so that live audio is heard from its beginning.
Task<void> WorkerSpeechAnalyzer::prepare(std::shared_ptr<Analysis> analysis, AudioFormat format) {
    if (format != liveAudioFormat) {
        throw WorkerError::failed("The speech recogniser does not take audio of this format.");
    }
    const auto& reporting = analysis->transcriber.reportingOptions;
    StartStream request{.request = 0,
                        .engine = analysis->engine,
                        .reportsHypotheses = reporting.contains(SpeechReportingOption::volatileResults)};
    analysis->livingClient()->startStream(analysis->transcription, std::move(request));
    co_await analysis->transcription->started();
}

Task<void> WorkerSpeechAnalyzer::start(std::shared_ptr<Analysis> analysis,
                                       std::shared_ptr<AnalyzerInputSequence> inputs) {
    analysis->livingClient()->feed(analysis->transcription, std::move(inputs));
    co_return;
}

Task<std::optional<SpeechTranscriptionResult>> WorkerSpeechAnalyzer::nextResult(std::shared_ptr<Analysis> analysis) {
    try {
        Transcription& transcription = *analysis->transcription;
        for (auto event = co_await transcription.next(); event.has_value(); event = co_await transcription.next()) {
            if (const auto* result = std::get_if<TranscriptionResult>(&*event)) {
                analysis->heardSpeech = true;
                co_return SpeechTranscriptionResult{
                    .text = result->text,
                    .audioTimeRange = {.start = result->start, .duration = result->duration},
                    .isFinal = result->isFinal};
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

Task<void> WorkerSpeechAnalyzer::finish(std::shared_ptr<Analysis> analysis) {
    co_await analysis->transcription->delivered();
}

WorkerSpeechAnalyzer::WorkerSpeechAnalyzer(SpeechTranscriber transcriber, SpeechEngineChoice engine,
                                           const std::shared_ptr<TranscriberClient>& client,
                                           std::shared_ptr<SilentFiles> silentFiles)
    : analysis_(std::make_shared<Analysis>()) {
    analysis_->transcriber = std::move(transcriber);
    analysis_->engine = std::move(engine);
    analysis_->client = client;
    analysis_->silentFiles = std::move(silentFiles);
    analysis_->transcription = client->makeTranscription();
}

WorkerSpeechAnalyzer::~WorkerSpeechAnalyzer() {
    analysis_->cancel();
}

Task<void> WorkerSpeechAnalyzer::start(SpeechInputFile file) {
    return start(analysis_, std::move(file));
}

Task<void> WorkerSpeechAnalyzer::prepareToAnalyze(AudioFormat format) {
    return prepare(analysis_, format);
}

Task<void> WorkerSpeechAnalyzer::start(std::shared_ptr<AnalyzerInputSequence> inputs) {
    return start(analysis_, std::move(inputs));
}

Task<std::optional<SpeechTranscriptionResult>> WorkerSpeechAnalyzer::nextResult() {
    return nextResult(analysis_);
}

Task<void> WorkerSpeechAnalyzer::finalizeAndFinishThroughEndOfInput() {
    return finish(analysis_);
}

void WorkerSpeechAnalyzer::cancelAndFinishNow() noexcept {
    analysis_->cancel();
}

} // namespace talkledger
