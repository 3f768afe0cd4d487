#include "TalkledgerWorkers/Transcriber/LiveTranscription.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>
#include <vector>

namespace talkledger {

namespace {

/// Seconds. Where so much is missing, what comes before does not go on in what comes after, and hears as a pause.
constexpr double shortestHole = 0.05;
constexpr double longestPause = 2;

double secondsOf(std::size_t samples) {
    return static_cast<double>(samples) / SpeechEngine::sampleRate;
}

} // namespace

LiveTranscription::LiveTranscription(StartStream request, EngineShelf& engines, std::stop_token stop,
                                     TranscriberMessageHandler report)
    : request_(std::move(request)), engines_(engines), stop_(std::move(stop)), report_(std::move(report)) {}

void LiveTranscription::start() {
    attempt([this] {
        engine_ = std::make_unique<EngineShelf::Loan>(engines_.borrow(request_.engine));
        const SpeechReporting reporting =
            request_.reportsHypotheses ? SpeechReporting::alsoHypotheses : SpeechReporting::finalSegments;
        (*engine_)->begin(
            reporting, [this](const SpeechSegment& segment) { tell(segment); }, stop_);
        report_(TranscriptionStarted{request_.request});
    });
}

void LiveTranscription::append(const StreamAudio& audio) {
    attempt([&] {
        if (!stop_.stop_requested()) {
            if (const double missing = secondsMissing(audio.start); missing >= shortestHole) {
                const double pause = std::min(missing, longestPause) * SpeechEngine::sampleRate;
                hear(std::vector<std::int16_t>(static_cast<std::size_t>(std::lround(pause))));
            }
            resume(audio.start);
            std::vector<std::int16_t> samples(audio.sampleCount());
            const auto bytes = std::as_writable_bytes(std::span(samples));
            std::copy_n(audio.payload.begin(), bytes.size(), bytes.begin());
            hear(samples);
        }
        report_(StreamConsumed{request_.request, static_cast<std::int64_t>(audio.sampleCount())});
    });
}

void LiveTranscription::finish() {
    attempt([this] {
        stop_.stop_requested() ? (*engine_)->end() : (*engine_)->finish();
        end(TranscriptionFinished{.request = request_.request, .caught = (*engine_)->caught()});
    });
}

void LiveTranscription::attempt(const std::function<void()>& step) {
    if (hasEnded_) {
        return;
    }
    try {
        step();
    } catch (const std::exception& failure) {
        end(RequestFailed::because(request_.request, failure));
    }
}

void LiveTranscription::end(const MessageFromTranscriber& message) {
    hasEnded_ = true;
    engine_.reset();
    report_(message);
}

void LiveTranscription::hear(std::span<const std::int16_t> samples) {
    (*engine_)->append(samples);
    const std::lock_guard lock(clock_->mutex);
    clock_->stream.advance(secondsOf(samples.size()));
}

double LiveTranscription::secondsMissing(double time) const {
    const std::lock_guard lock(clock_->mutex);
    return clock_->stream.secondsMissing(time);
}

void LiveTranscription::resume(double time) {
    const std::lock_guard lock(clock_->mutex);
    clock_->stream.resume(time);
}

void LiveTranscription::tell(const SpeechSegment& segment) const {
    if (stop_.stop_requested()) {
        return;
    }
    std::unique_lock lock(clock_->mutex);
    const double start = clock_->stream.time(segment.start);
    const double end = clock_->stream.time(segment.start + segment.duration);
    lock.unlock();
    report_(TranscriptionResult{request_.request, segment.text, start, std::max(0.0, end - start), segment.isFinal});
}

} // namespace talkledger
