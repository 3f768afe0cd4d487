#pragma once

#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/AudioConversion.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerCore/Transcription/LiveSpeechTranscriptionSession.h"

#include <boost/asio/cancellation_signal.hpp>

#include <QObject>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace talkledger {

/// The live transcription of the recording in progress: a session for each channel, which hears what the relay passes
/// on as soon as it has started. A channel that cannot be transcribed, or no longer, is without; the other goes on.
/// Main thread.
class LiveTranscription : public QObject {
    Q_OBJECT

public:
    /// Called on the main thread, also for what is still recognised after the stop.
    using SegmentHandler = std::function<void(const TranscriptSegment&)>;

    /// The ports and the relay have to outlive it.
    LiveTranscription(SpeechRecognition& recognition, AudioConversion& conversion, LiveAudioBufferRelay& relay,
                      Executor main);

    /// Returns at once. `timelineOrigin` is where the recording's time line begins, on the clock of the buffers.
    void start(const std::string& locale, MonotonicTime timelineOrigin, const SegmentHandler& segmentHandler);

    /// A recogniser may have come: the channels that are without one get it.
    void tryAgain();

    /// Nothing is heard any more. What has been heard is recognised to its end, and nobody waits for that.
    void stop();

    /// Whether what the channel hears is being transcribed.
    bool isListening(AudioChannel channel) const { return listening_.contains(channel); }

    bool isListening() const { return !listening_.empty(); }

    /// Whether it is, or is still about to.
    bool awaitsText() const { return isListening() || !starting_.empty(); }

Q_SIGNALS:
    void listeningChanged();

private:
    using Session = std::shared_ptr<LiveSpeechTranscriptionSession>;

    struct Recording {
        std::string locale;
        MonotonicTime timelineOrigin;
        SegmentHandler segmentHandler;
    };

    void begin(AudioChannel channel);
    Session makeSession(AudioChannel channel);
    Task<> startSession(Session session, AudioChannel channel);
    void noteBreakdown(AudioChannel channel);

    SpeechRecognition& recognition_;
    AudioConversion& conversion_;
    LiveAudioBufferRelay& relay_;
    Executor main_;
    std::shared_ptr<Recording> recording_; ///< null when none is in progress; nobody else owns it
    std::map<AudioChannel, Session> sessions_;
    std::map<AudioChannel, std::shared_ptr<boost::asio::cancellation_signal>> startTasks_;
    std::set<AudioChannel> starting_;
    std::set<AudioChannel> listening_;
};

} // namespace talkledger
