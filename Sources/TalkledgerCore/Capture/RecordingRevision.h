#pragma once

#include "TalkledgerCore/Capture/RecordingDocumentWriter.h"
#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerCore/Ports/FileSystem.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace talkledger {

/// There is no speech in the files of a recording that has a transcript.
class RecordingRevisionError : public std::runtime_error {
public:
    RecordingRevisionError();
};

/// What can be done for a recording afterwards: to finish one that was cut off by a crash or a power cut, and to make
/// documents anew. A document gives way only to one that was made whole; until then, and after a failure, which is
/// thrown, it stays. Each step leaves an English message in the recording's diagnostics. Lives on the main executor;
/// what it is given has to outlive what is under way.
class RecordingRevision {
public:
    RecordingRevision(RecordingStore& store, const FileSystem& fileSystem, AudioFiles& audioFiles,
                      std::unique_ptr<TranscriptProvider> transcriptProvider,
                      std::unique_ptr<SalesSummaryGenerating> summaryGenerator);

    /// Mends the audio files, writes the documents as a stop would, and lets the recording end with its longest track.
    /// Only for a recording without an end that is not the one in progress.
    Task<RecordingSession> finishInterrupted(RecordingSession session);

    Task<void> transcribeAgain(RecordingSession session);
    Task<void> summarizeAgain(RecordingSession session);

    /// What was written down while the recording was in progress becomes its transcript.
    void useLiveTranscript(const RecordingSession& session);

    /// A summary by key phrases, without a language model.
    void draftFromKeyPhrases(const RecordingSession& session);

private:
    RecordingDiagnostics diagnostics(const RecordingSession& session) const;
    bool hasTranscript(const RecordingSession& session) const;
    Task<double> longestTrack(RecordingSession session) const;
    void addMessage(std::string message, const RecordingSession& session);

    RecordingStore& store_;
    const FileSystem& fileSystem_;
    AudioFiles& audioFiles_;
    std::unique_ptr<TranscriptProvider> transcriptProvider_;
    std::unique_ptr<SalesSummaryGenerating> summaryGenerator_;
    RecordingArtifactDiagnosticsBuilder artifactDiagnosticsBuilder_;
    RecordingDocumentWriter documentWriter_;
};

} // namespace talkledger
