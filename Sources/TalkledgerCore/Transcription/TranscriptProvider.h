#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Task.h"

namespace talkledger {

/// Turns a stopped recording into its transcript. Called on the main executor; failures are exceptions whose text the
/// user may read.
class TranscriptProvider {
public:
    TranscriptProvider() = default;
    TranscriptProvider(const TranscriptProvider&) = delete;
    TranscriptProvider& operator=(const TranscriptProvider&) = delete;
    virtual ~TranscriptProvider() = default;

    virtual Task<TranscriptDocument> transcript(RecordingSession forSession) = 0;
};

} // namespace talkledger
