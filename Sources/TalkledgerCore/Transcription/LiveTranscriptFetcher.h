#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerCore/Transcription/TranscriptProvider.h"

#include <chrono>
#include <memory>
#include <stdexcept>

namespace talkledger {

class LiveTranscriptFetchError : public std::runtime_error {
public:
    enum class Case { timedOut };

    explicit LiveTranscriptFetchError(Case failure);

    Case failure() const { return failure_; }

    bool operator==(const LiveTranscriptFetchError& other) const { return failure_ == other.failure_; }

private:
    Case failure_;
};

/// Asks for a transcript and waits no longer than `timeout`; a provider that is late is cancelled, and need not have
/// ended when the fetch has. Called on the main executor.
struct LiveTranscriptFetcher {
    std::chrono::duration<double> timeout; ///< what is below zero or not a number is over at once

    /// Throws `LiveTranscriptFetchError` or what the provider throws.
    Task<TranscriptDocument> transcript(RecordingSession forSession, std::shared_ptr<TranscriptProvider> provider);
};

} // namespace talkledger
