#include "TalkledgerWorkers/Transcriber/FileTranscription.h"

#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

#include <exception>
#include <span>

namespace talkledger {

namespace {

constexpr double progressStep = 0.01;

void recognise(const TranscribeFile& request, EngineShelf& engines, const std::stop_token& stop,
               const TranscriberMessageHandler& report) {
    AudioFileReader file(request.path, stop);
    report(TranscriptionStarted{request.request});
    const EngineShelf::Loan engine = engines.borrow(request.locale);
    engine->begin(SpeechReporting::finalSegments, [&](const SpeechSegment& segment) {
        if (!stop.stop_requested()) {
            report(TranscriptionResult{request.request, segment.text, request.startTime + segment.start,
                                       segment.duration, segment.isFinal});
        }
    });
    double reported = 0;
    for (std::span<const std::int16_t> samples = file.read(); !samples.empty(); samples = file.read()) {
        engine->append(samples);
        if (const double share = file.share(); share >= reported + progressStep && share < 1) {
            report(TranscriptionProgress{request.request, share});
            reported = share;
        }
    }
    if (!stop.stop_requested()) {
        engine->finish();
        report(TranscriptionProgress{request.request, 1});
    }
}

} // namespace

void transcribeFile(const TranscribeFile& request, EngineShelf& engines, const std::stop_token& stop,
                    const TranscriberMessageHandler& report) {
    try {
        recognise(request, engines, stop, report);
    } catch (const std::exception& failure) {
        report(RequestFailed{request.request, failure.what()});
        return;
    }
    report(TranscriptionFinished{request.request});
}

} // namespace talkledger
