#include "TalkledgerCore/Capture/RecordingDocumentWriter.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/system/system_error.hpp>

#include <exception>
#include <utility>

namespace talkledger {

RecordingDocumentWriter::RecordingDocumentWriter(RecordingStore& store, TranscriptProvider& transcriptProvider,
                                                 SalesSummaryGenerating& summaryGenerator,
                                                 RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder,
                                                 FinishingStepHandler stepHandler)
    : store_(store),
      transcriptProvider_(transcriptProvider),
      summaryGenerator_(summaryGenerator),
      artifactDiagnosticsBuilder_(artifactDiagnosticsBuilder),
      stepHandler_(std::move(stepHandler)) {}

void RecordingDocumentWriter::tell(FinishingStep step) const {
    if (stepHandler_) {
        stepHandler_(step);
    }
}

Task<void> RecordingDocumentWriter::write(RecordingSession session, RecordingDiagnostics diagnostics) {
    tell(FinishingStep::transcribing);
    TranscriptDocument transcript = co_await transcribe(session, diagnostics.messages);
    const boost::asio::cancellation_state cancellation = co_await boost::asio::this_coro::cancellation_state;
    if (cancellation.cancelled() != boost::asio::cancellation_type::none) {
        // What was abandoned is not written down as an empty transcript.
        throw boost::system::system_error(boost::asio::error::operation_aborted);
    }
    store_.saveTranscript(transcript, session);
    tell(FinishingStep::summarizing);
    co_await summarize(std::move(transcript), session, diagnostics.messages);
    diagnostics.artifacts = co_await artifactDiagnosticsBuilder_.build(session);
    store_.saveDiagnostics(diagnostics, session);
}

Task<TranscriptDocument> RecordingDocumentWriter::transcribe(const RecordingSession& session, Messages& messages) {
    try {
        TranscriptDocument transcript = co_await transcriptProvider_.transcript(session);
        // Said before there is a summary, and it stays when the summary fails.
        messages.emplace_back("Transcript and summary generated.");
        co_return transcript;
    } catch (const std::exception& error) {
        messages.push_back(std::string("Transcription failed: ") + error.what());
        messages.emplace_back("Empty transcript and summary generated.");
        co_return TranscriptDocument();
    }
}

Task<void> RecordingDocumentWriter::summarize(TranscriptDocument transcript, const RecordingSession& session,
                                              Messages& messages) {
    std::string failure;
    try {
        const SalesSummary summary = co_await summaryGenerator_.summary(std::move(transcript));
        store_.saveSummary(summary, session);
        co_return;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    store_.saveSummary(SalesSummary(), session);
    messages.push_back("Foundation Models summary failed: " + failure);
    messages.emplace_back("Empty summary generated.");
}

} // namespace talkledger
