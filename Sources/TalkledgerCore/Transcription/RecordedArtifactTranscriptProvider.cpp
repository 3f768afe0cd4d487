#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"

#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Support/Both.h"
#include "TalkledgerCore/Transcription/RecognisedSegment.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

namespace talkledger {

namespace {

constexpr const char* fallbackLocale = "en_US";

std::vector<std::string> unique(const std::vector<std::string>& locales) {
    std::vector<std::string> kept;
    for (const std::string& locale : locales) {
        if (std::find(kept.begin(), kept.end(), locale) == kept.end()) {
            kept.push_back(locale);
        }
    }
    return kept;
}

/// Which transcriber stands for a locale.
Task<SpeechTranscriber> transcriberFor(std::string locale, SpeechRecognition& recognition) {
    const std::optional<std::string> supportedLocale = co_await recognition.supportedLocale(locale);
    co_return SpeechTranscriber::timeIndexedTranscriptionWithAlternatives(supportedLocale.value_or(fallbackLocale));
}

/// What is supported and not to be had is not offered.
Task<bool> isOffered(SpeechTranscriber transcriber, SpeechAssetPolicy assetPolicy, AssetInventory& assets) {
    const SpeechAssetStatus status = co_await assets.status(transcriber);
    if (status == SpeechAssetStatus::installed) {
        co_return true;
    }
    if (status == SpeechAssetStatus::unsupported || assetPolicy == SpeechAssetPolicy::installedOnly) {
        co_return false;
    }
    const auto request = co_await assets.assetInstallationRequest(transcriber);
    co_return request != nullptr;
}

/// One attempt at one file in one locale.
class SpeechAnalyzerFileTranscriber {
public:
    SpeechAnalyzerFileTranscriber(std::string locale, SpeechAssetPolicy assetPolicy, SpeechRecognition& recognition)
        : locale_(std::move(locale)), assetPolicy_(assetPolicy), recognition_(recognition) {}

    Task<std::vector<TranscriptSegment>> transcribe(SpeechInputFile file, AudioChannel channel, SpeakerRole role) {
        if (!recognition_.isAvailable()) {
            co_return std::vector<TranscriptSegment>();
        }
        const SpeechTranscriber transcriber = co_await transcriberFor(locale_, recognition_);
        if (!co_await prepareAssets(transcriber)) {
            co_return std::vector<TranscriptSegment>();
        }
        const std::unique_ptr<SpeechAnalyzer> analyzer = recognition_.makeAnalyzer(transcriber);
        auto [segments, end] = co_await both(collect(*analyzer, channel, role), analyze(*analyzer, std::move(file)));
        co_return std::move(segments);
    }

private:
    /// Whether the models are there.
    Task<bool> prepareAssets(const SpeechTranscriber& transcriber) {
        switch (co_await recognition_.assetInventory().status(transcriber)) {
        case SpeechAssetStatus::installed:
            co_return true;
        case SpeechAssetStatus::supported:
        case SpeechAssetStatus::downloading:
            break;
        case SpeechAssetStatus::unsupported:
            co_return false;
        }
        if (assetPolicy_ == SpeechAssetPolicy::installedOnly) {
            co_return false;
        }
        const std::unique_ptr<SpeechAssetInstallationRequest> request =
            co_await recognition_.assetInventory().assetInstallationRequest(transcriber);
        if (request) {
            co_await request->downloadAndInstall();
        }
        co_return true;
    }

    static Task<std::monostate> analyze(SpeechAnalyzer& analyzer, SpeechInputFile file) {
        co_await analyzer.start(std::move(file));
        co_await analyzer.finalizeAndFinishThroughEndOfInput();
        co_return std::monostate();
    }

    static Task<std::vector<TranscriptSegment>> collect(SpeechAnalyzer& analyzer, AudioChannel channel,
                                                        SpeakerRole role) {
        std::vector<TranscriptSegment> segments;
        std::optional<SpeechTranscriptionResult> result = co_await analyzer.nextResult();
        while (result.has_value()) {
            if (result->isFinal) {
                if (std::optional<TranscriptSegment> segment = recognisedSegment(*result, channel, role)) {
                    segments.push_back(*std::move(segment));
                }
            }
            result = co_await analyzer.nextResult();
        }
        co_return segments;
    }

    std::string locale_;
    SpeechAssetPolicy assetPolicy_;
    SpeechRecognition& recognition_;
};

} // namespace

Task<TranscriptDocument> EmptyTranscriptProvider::transcript(RecordingSession /*forSession*/) {
    co_return TranscriptDocument();
}

SpeechTranscriptionConfiguration::SpeechTranscriptionConfiguration(const std::string& locale,
                                                                   const std::string& currentLocale,
                                                                   RecordedArtifactTranscriptMode mode) {
    switch (mode) {
    case RecordedArtifactTranscriptMode::finalAccuracy:
        candidateLocales = unique({"ja_JP", locale, currentLocale, fallbackLocale});
        assetPolicy = SpeechAssetPolicy::installIfNeeded;
        break;
    case RecordedArtifactTranscriptMode::lowLatencyLive:
        candidateLocales = {locale};
        assetPolicy = SpeechAssetPolicy::installedOnly;
        break;
    }
}

Task<bool> offersTranscription(SpeechTranscriptionConfiguration configuration, SpeechRecognition& recognition) {
    if (!recognition.isAvailable()) {
        co_return false;
    }
    for (const std::string& locale : configuration.candidateLocales) {
        const SpeechTranscriber transcriber = co_await transcriberFor(locale, recognition);
        if (co_await isOffered(transcriber, configuration.assetPolicy, recognition.assetInventory())) {
            co_return true;
        }
    }
    co_return false;
}

SpeechRecordingTrackTranscriptProvider::SpeechRecordingTrackTranscriptProvider(
    SpeechTranscriptionConfiguration configuration, SpeechRecognition& recognition, const FileSystem& fileSystem,
    TranscriptionProgressHandler progressHandler)
    : configuration_(std::move(configuration)),
      recognition_(recognition),
      fileSystem_(fileSystem),
      progressHandler_(std::move(progressHandler)) {}

Task<std::vector<TranscriptSegment>>
SpeechRecordingTrackTranscriptProvider::transcribe(std::filesystem::path url, AudioChannel channel, SpeakerRole role) {
    std::vector<TranscriptSegment> segments;
    if (!fileSystem_.fileExists(url) || fileSystem_.fileSize(url).value_or(0) < 1) {
        co_return segments;
    }
    SpeechInputFile file{.path = url,
                         .startTime = RecordingTimeline::load(fileSystem_, url.parent_path()).start(channel),
                         .progress = {}};
    if (progressHandler_) {
        file.progress = [report = progressHandler_, channel](double share) { report(channel, share); };
    }
    for (const std::string& locale : configuration_.candidateLocales) {
        SpeechAnalyzerFileTranscriber transcriber(locale, configuration_.assetPolicy, recognition_);
        try {
            segments = co_await transcriber.transcribe(file, channel, role);
        } catch (const std::exception&) {
            segments.clear();
        }
        const boost::asio::cancellation_state state = co_await boost::asio::this_coro::cancellation_state;
        if (state.cancelled() != boost::asio::cancellation_type::none) {
            throw boost::system::system_error(boost::asio::error::operation_aborted);
        }
        if (!segments.empty()) {
            break;
        }
    }
    co_return segments;
}

RecordedArtifactTranscriptProvider::RecordedArtifactTranscriptProvider(
    std::unique_ptr<RecordingTrackTranscriptProviding> trackProvider, TranscriptSourceSeparator sourceSeparator)
    : trackProvider_(std::move(trackProvider)), sourceSeparator_(sourceSeparator) {}

RecordedArtifactTranscriptProvider::RecordedArtifactTranscriptProvider(
    const std::string& locale, const std::string& currentLocale, RecordedArtifactTranscriptMode mode,
    SpeechRecognition& recognition, const FileSystem& fileSystem, TranscriptionProgressHandler progressHandler)
    : RecordedArtifactTranscriptProvider(std::make_unique<SpeechRecordingTrackTranscriptProvider>(
                                             SpeechTranscriptionConfiguration(locale, currentLocale, mode), recognition,
                                             fileSystem, std::move(progressHandler)),
                                         recordingSourceSeparator) {}

Task<TranscriptDocument> RecordedArtifactTranscriptProvider::transcript(RecordingSession forSession) {
    const RecordingArtifacts& files = forSession.artifacts;
    auto [segments, speakerSegments] =
        co_await both(trackProvider_->transcribe(files.micAudio, AudioChannel::mic, SpeakerRole::me),
                      trackProvider_->transcribe(files.speakerAudio, AudioChannel::speaker, SpeakerRole::customer));
    segments.insert(segments.end(), speakerSegments.begin(), speakerSegments.end());
    co_return TranscriptDocument{sourceSeparator_.suppressMicrophoneEchoes(segments)};
}

} // namespace talkledger
