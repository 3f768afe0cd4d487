#include "TalkledgerCore/Capture/RecordingCoordinator.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/this_coro.hpp>

#include <exception>
#include <utility>

namespace talkledger {

namespace {

std::string description(RecordingCoordinatorError::Case failure, const std::vector<std::string>& messages) {
    switch (failure) {
    case RecordingCoordinatorError::Case::alreadyRecording:
        return "A recording is already in progress.";
    case RecordingCoordinatorError::Case::notRecording:
        return "No recording is currently in progress.";
    case RecordingCoordinatorError::Case::noCaptureTrackStarted:
        break;
    }
    std::string joined;
    for (const std::string& message : messages) {
        joined += (joined.empty() ? "" : " ") + message;
    }
    return "No capture track could be started: " + joined;
}

/// The description of why the operation failed; absent when it did not.
Task<std::optional<std::string>> failureOf(Task<void> operation) {
    try {
        co_await std::move(operation);
    } catch (const std::exception& error) {
        co_return error.what();
    }
    co_return std::nullopt;
}

/// Whether the operation succeeded; either way a message says so.
Task<bool> succeeds(Task<void> operation, const std::string& success, const std::string& failurePrefix,
                    std::vector<std::string>& messages) {
    const std::optional<std::string> failure = co_await failureOf(std::move(operation));
    messages.push_back(failure ? failurePrefix + *failure : success);
    co_return !failure;
}

} // namespace

RecordingCoordinatorError::RecordingCoordinatorError(Case failure, std::vector<std::string> messages)
    : std::runtime_error(description(failure, messages)), failure_(failure), messages_(std::move(messages)) {}

RecordingCoordinator::RecordingCoordinator(RecordingStore& store, std::shared_ptr<AudioRecorder> microphoneRecorder,
                                           std::shared_ptr<AudioRecorder> systemAudioRecorder,
                                           std::unique_ptr<TranscriptProvider> transcriptProvider,
                                           std::unique_ptr<SalesSummaryGenerating> summaryGenerator,
                                           RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder, Clock clock,
                                           FinishingStepHandler stepHandler)
    : store_(store),
      microphoneRecorder_(std::move(microphoneRecorder)),
      systemAudioRecorder_(std::move(systemAudioRecorder)),
      transcriptProvider_(std::move(transcriptProvider)),
      summaryGenerator_(std::move(summaryGenerator)),
      documentWriter_(store, *transcriptProvider_, *summaryGenerator_, artifactDiagnosticsBuilder,
                      std::move(stepHandler)),
      clock_(std::move(clock)) {}

Task<RecordingSession> RecordingCoordinator::start(std::string title) {
    if (currentSession_) {
        throw RecordingCoordinatorError(RecordingCoordinatorError::Case::alreadyRecording);
    }
    const Date startedAt = clock_();
    const RecordingSession session = store_.createSession(title, startedAt);
    currentSession_ = session;
    microphoneStarted_ = false;
    systemAudioStarted_ = false;
    Messages messages;
    microphoneStarted_ = co_await succeeds(microphoneRecorder_->startRecording(session.artifacts.micAudio),
                                           "Microphone capture started.", "Microphone capture failed: ", messages);
    systemAudioStarted_ = co_await succeeds(systemAudioRecorder_->startRecording(session.artifacts.speakerAudio),
                                            "System audio capture started.", "System audio capture failed: ", messages);
    store_.saveDiagnostics(RecordingDiagnostics{microphoneStarted_, systemAudioStarted_, messages, {}}, session);
    if (!microphoneStarted_ && !systemAudioStarted_) {
        currentSession_.reset();
        throw RecordingCoordinatorError(RecordingCoordinatorError::Case::noCaptureTrackStarted, messages);
    }
    co_return session;
}

Task<std::optional<RecordingSession>> RecordingCoordinator::stop() {
    if (stopInProgress_) {
        co_return std::nullopt;
    }
    if (!currentSession_) {
        throw RecordingCoordinatorError(RecordingCoordinatorError::Case::notRecording);
    }
    stopInProgress_ = true;
    try {
        RecordingSession finished = co_await finish(*currentSession_);
        becomeIdle();
        co_return finished;
    } catch (...) {
        becomeIdle();
        throw;
    }
}

Task<RecordingSession> RecordingCoordinator::finish(RecordingSession session) {
    RecordingDiagnostics diagnostics{microphoneStarted_, systemAudioStarted_, {}, {}};
    co_await boost::asio::this_coro::reset_cancellation_state(boost::asio::disable_cancellation());
    co_await stopTracks(diagnostics.messages);
    co_await boost::asio::this_coro::reset_cancellation_state(boost::asio::enable_terminal_cancellation());
    co_await documentWriter_.write(session, std::move(diagnostics));
    const Date endedAt = clock_();
    session.title = currentTitle(session);
    co_return store_.finishSession(session, endedAt);
}

/// A rename goes to the recording's file, past us; what cannot be read there is written anew with the title we know.
std::string RecordingCoordinator::currentTitle(const RecordingSession& session) const {
    try {
        return store_.loadSession(session).title;
    } catch (const std::exception&) {
        return session.title;
    }
}

Task<void> RecordingCoordinator::stopTracks(Messages& messages) {
    if (microphoneStarted_) {
        co_await succeeds(microphoneRecorder_->stopRecording(), "Microphone capture stopped.",
                          "Microphone capture stop failed: ", messages);
    }
    if (systemAudioStarted_) {
        co_await succeeds(systemAudioRecorder_->stopRecording(), "System audio capture stopped.",
                          "System audio capture stop failed: ", messages);
    }
}

void RecordingCoordinator::becomeIdle() {
    currentSession_.reset();
    microphoneStarted_ = false;
    systemAudioStarted_ = false;
    stopInProgress_ = false;
}

} // namespace talkledger
