#include "TalkledgerWorkers/Transcriber/FileTranscription.h"

#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <span>

namespace talkledger {

namespace {

constexpr double progressStep = 0.01;

/// The seconds of speech in a file; absent when the engine tells by recognising only.
std::optional<double> speechIn(const std::filesystem::path& path, SpeechMeter* meter, const std::stop_token& stop) {
    if (meter == nullptr) {
        return std::nullopt;
    }
    AudioFileReader file(path, stop);
    for (std::span<const std::int16_t> samples = file.read(); !samples.empty(); samples = file.read()) {
        meter->append(samples);
    }
    return meter->finish();
}

CaughtInventions recognise(const TranscribeFile& request, EngineShelf& engines, const std::stop_token& stop,
                           const TranscriberMessageHandler& report) {
    AudioFileReader file(request.path, stop);
    report(TranscriptionStarted{request.request});
    const EngineShelf::Loan engine = engines.borrow(request.engine);
    const std::optional<double> speech = speechIn(request.path, engine->makeMeter().get(), stop);
    const auto tell = [&](const SpeechSegment& segment) {
        if (!stop.stop_requested()) {
            report(TranscriptionResult{request.request, segment.text, request.startTime + segment.start,
                                       segment.duration, segment.isFinal});
        }
    };
    engine->begin(SpeechReporting::finalSegments, tell, stop);
    double reported = 0;
    for (std::span<const std::int16_t> samples = file.read(); !samples.empty(); samples = file.read()) {
        engine->append(samples);
        const double share = speech ? engine->heardSpeech() / std::max(*speech, engine->heardSpeech()) : file.share();
        if (share >= reported + progressStep && share < 1) {
            report(TranscriptionProgress{request.request, share});
            reported = share;
        }
    }
    if (!stop.stop_requested()) {
        engine->finish();
        report(TranscriptionProgress{request.request, 1});
    }
    return engine->caught();
}

} // namespace

void transcribeFile(const TranscribeFile& request, EngineShelf& engines, const std::stop_token& stop,
                    const TranscriberMessageHandler& report) {
    try {
        const CaughtInventions caught = recognise(request, engines, stop, report);
        report(TranscriptionFinished{.request = request.request, .caught = caught});
    } catch (const std::exception& failure) {
        report(RequestFailed::because(request.request, failure));
    }
}

} // namespace talkledger
