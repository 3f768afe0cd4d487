#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSession.h"

#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerCore/Support/TimerDuration.h"
#include "TalkledgerCore/Transcription/AnalyzerInputStream.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSessionError.h"
#include "TalkledgerCore/Transcription/RecognisedSegment.h"
#include "TalkledgerCore/Transcription/SpeechAnalyzerBufferConverter.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/deferred.hpp>
#include <boost/asio/experimental/parallel_group.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <chrono>
#include <exception>
#include <utility>

namespace talkledger {

namespace {

using Error = LiveSpeechTranscriptionSessionError;
using SegmentHandler = LiveSpeechTranscriptionSession::SegmentHandler;
using EndHandler = LiveSpeechTranscriptionSession::EndHandler;

Task<> tellResults(std::shared_ptr<SpeechAnalyzer> analyzer, AudioChannel channel, SpeakerRole role,
                   SegmentHandler segmentHandler) {
    std::optional<SpeechTranscriptionResult> result = co_await analyzer->nextResult();
    while (result.has_value()) {
        if (const std::optional<TranscriptSegment> segment = recognisedSegment(*result, channel, role)) {
            segmentHandler(*segment);
        }
        result = co_await analyzer->nextResult();
    }
}

/// An error of the results is their end, and nobody hears of it itself.
Task<> collect(Task<> telling, EndHandler endHandler) {
    try {
        co_await std::move(telling);
    } catch (const std::exception&) {
    }
    const boost::asio::cancellation_state state = co_await boost::asio::this_coro::cancellation_state;
    if (endHandler && state.cancelled() == boost::asio::cancellation_type::none) {
        endHandler();
    }
}

/// False when it failed or took too long.
Task<bool> finalizes(SpeechAnalyzer& analyzer, std::chrono::duration<double> timeout) {
    namespace asio = boost::asio;
    const Executor executor = co_await asio::this_coro::executor;
    asio::steady_timer timer(executor, timerDuration(timeout));
    auto [order, failure, timerError] =
        co_await asio::experimental::make_parallel_group(
            asio::co_spawn(executor, analyzer.finalizeAndFinishThroughEndOfInput(), asio::deferred),
            timer.async_wait(asio::deferred))
            .async_wait(asio::experimental::wait_for_one(), asio::use_awaitable);
    co_return order.front() == 0 && !failure;
}

} // namespace

struct LiveSpeechTranscriptionSession::Runtime {
    std::shared_ptr<AnalyzerInputStream> continuation;
    std::shared_ptr<SpeechAnalyzer> analyzer;
    TaskHandle collectorTask;
    SpeechAnalyzerBufferConverter converter;
    Executor executor; ///< of the task
};

LiveSpeechTranscriptionSession::LiveSpeechTranscriptionSession(std::string locale, AudioChannel channel,
                                                               SpeakerRole role, SegmentHandler segmentHandler,
                                                               SpeechRecognition& recognition,
                                                               AudioConversion& conversion,
                                                               MonotonicTime timelineOrigin, EndHandler endHandler,
                                                               std::chrono::duration<double> finishTimeout)
    : locale_(std::move(locale)),
      channel_(channel),
      role_(role),
      segmentHandler_(std::move(segmentHandler)),
      endHandler_(std::move(endHandler)),
      recognition_(recognition),
      conversion_(conversion),
      timelineOrigin_(timelineOrigin),
      finishTimeout_(finishTimeout) {}

LiveSpeechTranscriptionSession::~LiveSpeechTranscriptionSession() {
    if (const std::shared_ptr<Runtime> abandoned = std::move(runtime_)) {
        // The last to let go of the session may be the capture thread.
        boost::asio::post(abandoned->executor, [abandoned] { cancel(abandoned->collectorTask); });
    }
}

Task<SpeechTranscriber> LiveSpeechTranscriptionSession::makeTranscriber(std::string locale) {
    if (!recognition_.isAvailable()) {
        throw Error(Error::Case::speechUnavailable);
    }
    const std::optional<std::string> supportedLocale = co_await recognition_.supportedLocale(locale);
    if (!supportedLocale) {
        throw Error(Error::Case::localeUnsupported, locale);
    }
    SpeechTranscriber transcriber{
        .locale = *supportedLocale,
        .transcriptionOptions = {SpeechTranscriptionOption::etiquetteReplacements},
        .reportingOptions = {SpeechReportingOption::volatileResults, SpeechReportingOption::fastResults},
        .attributeOptions = {SpeechResultAttributeOption::audioTimeRange}};
    switch (co_await recognition_.assetInventory().status(transcriber)) {
    case SpeechAssetStatus::installed:
        co_return transcriber;
    case SpeechAssetStatus::supported:
    case SpeechAssetStatus::downloading:
        break;
    default:
        throw Error(Error::Case::assetsUnavailable, transcriber.locale);
    }
    const std::unique_ptr<SpeechAssetInstallationRequest> request =
        co_await recognition_.assetInventory().assetInstallationRequest(transcriber);
    if (!request) {
        throw Error(Error::Case::assetsUnavailable, transcriber.locale);
    }
    co_await request->downloadAndInstall();
    co_return transcriber;
}

Task<void> LiveSpeechTranscriptionSession::start(AudioFormat inputFormat) {
    const SpeechTranscriber transcriber = co_await makeTranscriber(locale_);
    const std::shared_ptr<SpeechAnalyzer> analyzer = recognition_.makeAnalyzer(transcriber);
    const std::optional<AudioFormat> format = co_await recognition_.bestAvailableAudioFormat(transcriber, inputFormat);
    if (!format) {
        throw Error(Error::Case::audioFormatUnavailable);
    }
    co_await analyzer->prepareToAnalyze(*format);
    const Executor executor = co_await boost::asio::this_coro::executor;
    const auto inputs = std::make_shared<AnalyzerInputStream>();
    const TaskHandle collectorTask =
        startTask(executor, collect(tellResults(analyzer, channel_, role_, segmentHandler_), endHandler_));
    exchangeRuntime(std::make_unique<Runtime>(Runtime{.continuation = inputs,
                                                      .analyzer = analyzer,
                                                      .collectorTask = collectorTask,
                                                      .converter = {*format, conversion_},
                                                      .executor = executor}));
    std::exception_ptr failure;
    try {
        co_await analyzer->start(inputs);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    if (failure) {
        cancel(collectorTask);
        exchangeRuntime(nullptr);
        std::rethrow_exception(failure);
    }
}

void LiveSpeechTranscriptionSession::append(SharedAudioBuffer buffer) {
    SharedAudioBuffer input;
    try {
        input = converted(buffer);
    } catch (const std::exception&) {
        return; // this buffer is lost; the next one may fit
    }
    const std::lock_guard guard(lock_);
    if (runtime_ && input) {
        const double startTime = secondsOnTimeline(input->time);
        runtime_->continuation->yield({.buffer = std::move(input), .bufferStartTime = startTime});
    }
}

/// Null when the session is idle.
SharedAudioBuffer LiveSpeechTranscriptionSession::converted(const SharedAudioBuffer& buffer) {
    const std::lock_guard guard(lock_);
    return runtime_ ? runtime_->converter.convert(buffer) : nullptr;
}

double LiveSpeechTranscriptionSession::secondsOnTimeline(MonotonicTime time) const {
    return std::chrono::duration<double>(time - timelineOrigin_).count();
}

Task<void> LiveSpeechTranscriptionSession::finish() {
    const std::unique_ptr<Runtime> runtime = exchangeRuntime(nullptr);
    if (!runtime) {
        co_return;
    }
    runtime->continuation->finish();
    bool isFinalized = false;
    try {
        isFinalized = co_await finalizes(*runtime->analyzer, finishTimeout_);
    } catch (const std::exception&) {
        // The finish itself was cancelled: there is no time for the last results.
    }
    if (!isFinalized) {
        runtime->analyzer->cancelAndFinishNow();
    }
    cancel(runtime->collectorTask);
}

/// The runtime that was there before.
std::unique_ptr<LiveSpeechTranscriptionSession::Runtime>
LiveSpeechTranscriptionSession::exchangeRuntime(std::unique_ptr<Runtime> runtime) {
    const std::lock_guard guard(lock_);
    return std::exchange(runtime_, std::move(runtime));
}

} // namespace talkledger
