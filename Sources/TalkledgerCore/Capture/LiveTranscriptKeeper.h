#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/Task.h"

#include <chrono>
#include <functional>
#include <memory>

namespace talkledger {

/// Keeps the live transcript of the recording in progress on the disk as it grows, so that neither a crash nor a final
/// transcription that finds nothing can take it away. A write that fails is tried again at the next change. Called on
/// the main executor; writes happen on the background executor, in their order.
class LiveTranscriptKeeper {
public:
    using Interval = std::chrono::duration<double>;
    using TranscriptSource = std::function<TranscriptDocument()>;

    /// So much of what was said a crash may cost.
    static constexpr Interval interval{4};

    /// The store has to outlive it.
    LiveTranscriptKeeper(RecordingStore& store, Executor main, const Executor& background, Interval between = interval);

    /// Asks `transcript` on the main executor, no later than in `end`.
    void begin(RecordingSession session, TranscriptSource transcript);

    /// There is more to keep: it is written when the interval has passed.
    void noteChange();

    /// Writes what is not written yet.
    void end();

private:
    struct Kept;

    Task<> keepSoon(std::shared_ptr<Kept> kept);
    void write(const Kept& kept);

    RecordingStore& store_;
    Executor main_;
    Executor writing_;
    Interval interval_;
    std::shared_ptr<Kept> kept_; ///< absent when no recording is in progress
};

} // namespace talkledger
