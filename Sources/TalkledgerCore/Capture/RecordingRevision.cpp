#include "TalkledgerCore/Capture/RecordingRevision.h"

#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Summary/SalesSummaryBuilder.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace talkledger {

RecordingRevisionError::RecordingRevisionError()
    : std::runtime_error("No speech was found in the recording's files. Its transcript has been kept as it was.") {}

RecordingRevision::RecordingRevision(RecordingStore& store, const FileSystem& fileSystem, AudioFiles& audioFiles,
                                     std::unique_ptr<TranscriptProvider> transcriptProvider,
                                     std::unique_ptr<SalesSummaryGenerating> summaryGenerator)
    : store_(store),
      fileSystem_(fileSystem),
      audioFiles_(audioFiles),
      transcriptProvider_(std::move(transcriptProvider)),
      summaryGenerator_(std::move(summaryGenerator)),
      artifactDiagnosticsBuilder_(fileSystem, audioFiles),
      documentWriter_(store, *transcriptProvider_, *summaryGenerator_, artifactDiagnosticsBuilder_) {}

Task<RecordingSession> RecordingRevision::finishInterrupted(RecordingSession session) {
    co_await audioFiles_.mend(session.artifacts.speakerAudio);
    RecordingDiagnostics begun = diagnostics(session);
    begun.messages.emplace_back("The recording was interrupted and has been finished later.");
    co_await documentWriter_.write(session, std::move(begun));
    const std::chrono::duration<double> length(co_await longestTrack(session));
    session.title = store_.loadSession(session).title; // renamed meanwhile
    co_return store_.finishSession(session, session.startedAt + std::chrono::duration_cast<Date::duration>(length));
}

Task<void> RecordingRevision::transcribeAgain(RecordingSession session) {
    const TranscriptDocument transcript = co_await transcriptProvider_->transcript(session);
    if (transcript.segments.empty() && hasTranscript(session)) {
        throw RecordingRevisionError();
    }
    store_.saveTranscript(transcript, session);
    addMessage("Transcribed again.", session);
}

Task<void> RecordingRevision::summarizeAgain(RecordingSession session) {
    TranscriptDocument transcript = store_.loadTranscript(session);
    const SalesSummary summary = co_await summaryGenerator_->summary(std::move(transcript));
    store_.saveSummary(summary, session);
    addMessage("Summarized again.", session);
}

void RecordingRevision::useLiveTranscript(const RecordingSession& session) {
    TranscriptDocument transcript = store_.loadLiveTranscript(session);
    for (TranscriptSegment& segment : transcript.segments) {
        segment.status = TranscriptSegmentStatus::final; // nothing will come after what was not settled
    }
    store_.saveTranscript(transcript, session);
    addMessage("The live transcript was taken for the recording's own.", session);
}

void RecordingRevision::draftFromKeyPhrases(const RecordingSession& session) {
    store_.saveSummary(SalesSummaryBuilder().build(store_.loadTranscript(session)), session);
    addMessage("The summary was drafted from key phrases.", session);
}

/// Of a recording that was cut off before it wrote any, none.
RecordingDiagnostics RecordingRevision::diagnostics(const RecordingSession& session) const {
    try {
        return store_.loadDiagnostics(session);
    } catch (const std::exception&) {
        return {};
    }
}

bool RecordingRevision::hasTranscript(const RecordingSession& session) const {
    try {
        return !store_.loadTranscript(session).segments.empty();
    } catch (const std::exception&) {
        return false;
    }
}

/// Seconds from the recording's start to the end of the track that ends last.
Task<double> RecordingRevision::longestTrack(RecordingSession session) const {
    const RecordingTimeline timeline = RecordingTimeline::load(fileSystem_, session.directory);
    double longest = 0;
    for (const RecordingArtifactDiagnostic& track : co_await artifactDiagnosticsBuilder_.build(session)) {
        if (track.durationSeconds) {
            longest = std::max(longest, timeline.start(track.channel) + *track.durationSeconds);
        }
    }
    co_return longest;
}

void RecordingRevision::addMessage(std::string message, const RecordingSession& session) {
    RecordingDiagnostics kept = diagnostics(session);
    kept.messages.push_back(std::move(message));
    store_.saveDiagnostics(kept, session);
}

} // namespace talkledger
