#pragma once

#include "TalkledgerCore/Capture/AudioRecorder.h"
#include "TalkledgerCore/Capture/RecordingDocumentWriter.h"
#include "TalkledgerCore/Export/RecordingArtifactDiagnosticsBuilder.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"
#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerCore/Transcription/TranscriptProvider.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace talkledger {

class RecordingCoordinatorError : public std::runtime_error {
public:
    enum class Case { noCaptureTrackStarted, alreadyRecording, notRecording };

    /// `messages` say why no track started, for the case `noCaptureTrackStarted`.
    explicit RecordingCoordinatorError(Case failure, std::vector<std::string> messages = {});

    Case failure() const { return failure_; }

    const std::vector<std::string>& messages() const { return messages_; }

    bool operator==(const RecordingCoordinatorError& other) const {
        return failure_ == other.failure_ && messages_ == other.messages_;
    }

private:
    Case failure_;
    std::vector<std::string> messages_;
};

/// The one owner of the recording in progress: starts its two tracks, and on stop makes the finished recording of
/// them. A step that fails without making the recording worthless becomes an English message in its diagnostics;
/// failures to write are passed on. Lives on the main executor and has to outlive what is under way.
class RecordingCoordinator {
public:
    using Clock = std::function<Date()>;

    /// `stepHandler` hears how far a stop has come.
    RecordingCoordinator(RecordingStore& store, std::shared_ptr<AudioRecorder> microphoneRecorder,
                         std::shared_ptr<AudioRecorder> systemAudioRecorder,
                         std::unique_ptr<TranscriptProvider> transcriptProvider,
                         std::unique_ptr<SalesSummaryGenerating> summaryGenerator,
                         RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder,
                         Clock clock = std::chrono::system_clock::now, FinishingStepHandler stepHandler = {});
    RecordingCoordinator(const RecordingCoordinator&) = delete;
    RecordingCoordinator& operator=(const RecordingCoordinator&) = delete;
    ~RecordingCoordinator() = default;

    bool isRecording() const { return currentSession_.has_value(); }

    /// The recording in progress; a start that failed to write its diagnostics leaves one, for `stop` to finish.
    const std::optional<RecordingSession>& currentSession() const { return currentSession_; }

    /// One track is enough. When neither starts, the recording's folder stays with its diagnostics.
    Task<RecordingSession> start(std::string title);

    /// Absent when a stop is already under way. Leaves no recording in progress, also when it fails. A cancellation
    /// counts only once the tracks have stopped. The recording keeps the title that it was given meanwhile.
    Task<std::optional<RecordingSession>> stop();

private:
    using Messages = std::vector<std::string>;

    Task<RecordingSession> finish(RecordingSession session);
    std::string currentTitle(const RecordingSession& session) const;
    Task<void> stopTracks(Messages& messages);
    void becomeIdle();

    RecordingStore& store_;
    std::shared_ptr<AudioRecorder> microphoneRecorder_;
    std::shared_ptr<AudioRecorder> systemAudioRecorder_;
    std::unique_ptr<TranscriptProvider> transcriptProvider_;
    std::unique_ptr<SalesSummaryGenerating> summaryGenerator_;
    RecordingDocumentWriter documentWriter_;
    Clock clock_;
    std::optional<RecordingSession> currentSession_;
    bool microphoneStarted_{false};
    bool systemAudioStarted_{false};
    bool stopInProgress_{false};
};

} // namespace talkledger
