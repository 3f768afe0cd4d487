#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerCore/Transcription/TranscriptProvider.h"
#include "TalkledgerCore/Transcription/TranscriptSourceSeparator.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// From recorded files to a transcript. Everything here is called on the main executor; the ports have to outlive it.
namespace talkledger {

/// For recordings that are not transcribed.
class EmptyTranscriptProvider final : public TranscriptProvider {
public:
    Task<TranscriptDocument> transcript(RecordingSession forSession) override;
};

/// Transcribes one track's file.
class RecordingTrackTranscriptProviding {
public:
    RecordingTrackTranscriptProviding() = default;
    RecordingTrackTranscriptProviding(const RecordingTrackTranscriptProviding&) = delete;
    RecordingTrackTranscriptProviding& operator=(const RecordingTrackTranscriptProviding&) = delete;
    virtual ~RecordingTrackTranscriptProviding() = default;

    virtual Task<std::vector<TranscriptSegment>> transcribe(std::filesystem::path url, AudioChannel channel,
                                                            SpeakerRole role) = 0;
};

enum class RecordedArtifactTranscriptMode { finalAccuracy, lowLatencyLive };

/// Whether missing recognition models may be fetched.
enum class SpeechAssetPolicy { installIfNeeded, installedOnly };

/// Which locales are tried, in order, and what may be fetched for them.
struct SpeechTranscriptionConfiguration {
    std::vector<std::string> candidateLocales;
    SpeechAssetPolicy assetPolicy{SpeechAssetPolicy::installIfNeeded};

    SpeechTranscriptionConfiguration() = default;
    SpeechTranscriptionConfiguration(const std::string& locale, const std::string& currentLocale,
                                     RecordedArtifactTranscriptMode mode);

    bool operator==(const SpeechTranscriptionConfiguration&) const = default;
};

/// Whether any of its locales can be recognised now, or once its model has been fetched.
Task<bool> offersTranscription(SpeechTranscriptionConfiguration configuration, SpeechRecognition& recognition);

/// How much of a channel's track has been worked through, from 0 to 1; starts anew with each locale that is tried.
using TranscriptionProgressHandler = std::function<void(AudioChannel channel, double share)>;

/// Transcribes a track with the first candidate locale that finds speech. A file or locale that cannot be transcribed
/// yields no segments; only a cancellation is thrown. Times are on the recording's time line, as its folder tells.
class SpeechRecordingTrackTranscriptProvider final : public RecordingTrackTranscriptProviding {
public:
    /// `progressHandler` may be empty.
    SpeechRecordingTrackTranscriptProvider(SpeechTranscriptionConfiguration configuration,
                                           SpeechRecognition& recognition, const FileSystem& fileSystem,
                                           TranscriptionProgressHandler progressHandler = {});

    Task<std::vector<TranscriptSegment>> transcribe(std::filesystem::path url, AudioChannel channel,
                                                    SpeakerRole role) override;

private:
    SpeechTranscriptionConfiguration configuration_;
    SpeechRecognition& recognition_;
    const FileSystem& fileSystem_;
    TranscriptionProgressHandler progressHandler_;
};

/// Transcribes both tracks of a recording at once and removes the microphone's echoes of the other party.
class RecordedArtifactTranscriptProvider final : public TranscriptProvider {
public:
    RecordedArtifactTranscriptProvider(std::unique_ptr<RecordingTrackTranscriptProviding> trackProvider,
                                       TranscriptSourceSeparator sourceSeparator);

    /// Over the speech recogniser; `currentLocale` is the user's own.
    RecordedArtifactTranscriptProvider(const std::string& locale, const std::string& currentLocale,
                                       RecordedArtifactTranscriptMode mode, SpeechRecognition& recognition,
                                       const FileSystem& fileSystem, TranscriptionProgressHandler progressHandler = {});

    /// A failure of either track ends the other and is the one thrown.
    Task<TranscriptDocument> transcript(RecordingSession forSession) override;

private:
    std::unique_ptr<RecordingTrackTranscriptProviding> trackProvider_;
    TranscriptSourceSeparator sourceSeparator_;
};

} // namespace talkledger
