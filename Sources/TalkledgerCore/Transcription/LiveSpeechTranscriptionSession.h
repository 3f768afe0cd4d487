#pragma once

#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/AudioConversion.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Support/Task.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace talkledger {

/// Transcribes one channel while it is recorded: takes the channel's buffers from the capture thread, has them
/// recognised, and tells each piece of text, partial and final. Used for one recording.
///
/// `start` and `finish` are called on the main executor, where the caller keeps the session until they have returned;
/// they throw `LiveSpeechTranscriptionSessionError` or what the recogniser throws. `append` comes from the capture
/// thread and never waits for the recognition: a buffer that cannot be taken is dropped.
class LiveSpeechTranscriptionSession final : public LiveAudioBufferConsuming {
public:
    /// Called from the task that collects the results: a receiver moves the segment to its own thread.
    using SegmentHandler = std::function<void(const TranscriptSegment&)>;

    /// Called from the same task when the recogniser has come to its end, which is a breakdown unless the session was
    /// finished. May be empty.
    using EndHandler = std::function<void()>;

    static constexpr std::chrono::seconds defaultFinishTimeout{2};

    /// `timelineOrigin` is the moment at which the recording's time line begins, on the clock of the buffers. The ports
    /// have to outlive the session.
    LiveSpeechTranscriptionSession(std::string locale, AudioChannel channel, SpeakerRole role,
                                   SegmentHandler segmentHandler, SpeechRecognition& recognition,
                                   AudioConversion& conversion, MonotonicTime timelineOrigin,
                                   EndHandler endHandler = {},
                                   std::chrono::duration<double> finishTimeout = defaultFinishTimeout);

    /// A session that was never finished ends at once, without its last results.
    ~LiveSpeechTranscriptionSession() override;
    LiveSpeechTranscriptionSession(const LiveSpeechTranscriptionSession&) = delete;
    LiveSpeechTranscriptionSession& operator=(const LiveSpeechTranscriptionSession&) = delete;

    /// Begins the recognition of buffers that come in about this format. After a failure the session is as it was
    /// before.
    Task<void> start(AudioFormat inputFormat);

    /// Before the start and after the finish, drops the buffer.
    void append(SharedAudioBuffer buffer) override;

    /// Ends the recognition when all that was appended has been told, or when that takes longer than the timeout: the
    /// recording goes on meanwhile, and its stop does not wait for a recogniser that hangs. Never throws.
    Task<void> finish();

private:
    struct Runtime;

    Task<SpeechTranscriber> makeTranscriber(std::string locale);
    std::unique_ptr<Runtime> exchangeRuntime(std::unique_ptr<Runtime> runtime);
    SharedAudioBuffer converted(const SharedAudioBuffer& buffer);
    double secondsOnTimeline(MonotonicTime time) const;

    std::mutex lock_; ///< guards `runtime_`
    const std::string locale_;
    const AudioChannel channel_;
    const SpeakerRole role_;
    const SegmentHandler segmentHandler_;
    const EndHandler endHandler_;
    std::unique_ptr<Runtime> runtime_; ///< from a successful start until the finish

    SpeechRecognition& recognition_;
    AudioConversion& conversion_;
    const MonotonicTime timelineOrigin_;
    const std::chrono::duration<double> finishTimeout_;
};

} // namespace talkledger
