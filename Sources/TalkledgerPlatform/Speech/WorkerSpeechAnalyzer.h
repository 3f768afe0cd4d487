#pragma once

#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerPlatform/Speech/SilentFiles.h"
#include "TalkledgerPlatform/Speech/TranscriberClient.h"

#include <memory>

namespace talkledger {

/// One recognition by the transcriber: of an analyser, a file is recognised once, and the progress is told out of
/// `nextResult`; or one run of live audio. A file in which no speech was found ends at once as long as it stays the
/// same. Called on the main executor; errors are `WorkerError`. May outlive the client.
class WorkerSpeechAnalyzer : public SpeechAnalyzer {
public:
    WorkerSpeechAnalyzer(SpeechTranscriber transcriber, SpeechEngineChoice engine,
                         const std::shared_ptr<TranscriberClient>& client, std::shared_ptr<SilentFiles> silentFiles);
    ~WorkerSpeechAnalyzer() override;
    WorkerSpeechAnalyzer(const WorkerSpeechAnalyzer&) = delete;
    WorkerSpeechAnalyzer& operator=(const WorkerSpeechAnalyzer&) = delete;

    Task<void> start(SpeechInputFile file) override;
    Task<void> prepareToAnalyze(AudioFormat format) override;
    Task<void> start(std::shared_ptr<AnalyzerInputSequence> inputs) override;
    Task<std::optional<SpeechTranscriptionResult>> nextResult() override;
    Task<void> finalizeAndFinishThroughEndOfInput() override;
    void cancelAndFinishNow() noexcept override;

private:
    struct Analysis;

    static Task<void> start(std::shared_ptr<Analysis> analysis, SpeechInputFile file);
    static Task<void> prepare(std::shared_ptr<Analysis> analysis, AudioFormat format);
    static Task<void> start(std::shared_ptr<Analysis> analysis, std::shared_ptr<AnalyzerInputSequence> inputs);
    static Task<std::optional<SpeechTranscriptionResult>> nextResult(std::shared_ptr<Analysis> analysis);
    static Task<void> finish(std::shared_ptr<Analysis> analysis);

    std::shared_ptr<Analysis> analysis_; ///< shared with the operations under way, each of which may outlive this
};

} // namespace talkledger
