#pragma once

#include "TalkledgerCore/Export/RecordingArtifactDiagnosticsBuilder.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Summary/SalesSummaryGenerating.h"
#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerCore/Transcription/TranscriptProvider.h"

#include <functional>
#include <string>
#include <vector>

namespace talkledger {

/// What is being made of a recording whose tracks are saved.
enum class FinishingStep { transcribing, summarizing };

using FinishingStepHandler = std::function<void(FinishingStep)>;

/// Writes what belongs to a recording whose tracks have ended: its transcript, its summary and its diagnostics. A
/// transcription or a summary that fails becomes an empty document and English messages; failures to write are passed
/// on. Lives on the main executor; what it is given has to outlive what is under way.
class RecordingDocumentWriter {
public:
    RecordingDocumentWriter(RecordingStore& store, TranscriptProvider& transcriptProvider,
                            SalesSummaryGenerating& summaryGenerator,
                            RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder,
                            FinishingStepHandler stepHandler = {});

    /// `diagnostics` says which tracks were started, and opens the messages. A cancellation leaves everything unwritten
    /// that would have needed the transcript.
    Task<void> write(RecordingSession session, RecordingDiagnostics diagnostics);

private:
    using Messages = std::vector<std::string>;

    void tell(FinishingStep step) const;
    Task<TranscriptDocument> transcribe(const RecordingSession& session, Messages& messages);
    Task<void> summarize(TranscriptDocument transcript, const RecordingSession& session, Messages& messages);

    RecordingStore& store_;
    TranscriptProvider& transcriptProvider_;
    SalesSummaryGenerating& summaryGenerator_;
    RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder_;
    FinishingStepHandler stepHandler_;
};

} // namespace talkledger
