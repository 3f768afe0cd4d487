#include "TalkledgerApp/LiveTranscription.h"

#include "TalkledgerCore/Support/TaskHandle.h"

#include <boost/asio/post.hpp>

#include <exception>
#include <utility>

namespace talkledger {
namespace {

/// What the tracks deliver, about: each buffer tells its own format.
constexpr AudioFormat capturedFormat{
    .commonFormat = AudioSampleFormat::float32, .sampleRate = 48000, .channelCount = 2, .isInterleaved = true};

/// Keeps the session until it has finished.
Task<> finishSession(std::shared_ptr<LiveSpeechTranscriptionSession> session) {
    co_await session->finish();
}

} // namespace

LiveTranscription::LiveTranscription(SpeechRecognition& recognition, AudioConversion& conversion,
                                     LiveAudioBufferRelay& relay, Executor main)
    : recognition_(recognition), conversion_(conversion), relay_(relay), main_(std::move(main)) {}

void LiveTranscription::start(const std::string& locale, MonotonicTime timelineOrigin,
                              const SegmentHandler& segmentHandler) {
    stop();
    recording_ = std::make_shared<Recording>(
        Recording{.locale = locale, .timelineOrigin = timelineOrigin, .segmentHandler = segmentHandler});
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        begin(channel);
    }
}

void LiveTranscription::tryAgain() {
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        if (recording_ && !listening_.contains(channel) && !starting_.contains(channel)) {
            begin(channel);
            Q_EMIT listeningChanged();
        }
    }
}

void LiveTranscription::begin(AudioChannel channel) {
    const Session session = makeSession(channel);
    sessions_[channel] = session;
    starting_.insert(channel);
    startTasks_[channel] = startTask(main_, startSession(session, channel));
}

LiveTranscription::Session LiveTranscription::makeSession(AudioChannel channel) {
    const auto handOver = [main = main_, handler = recording_->segmentHandler](const TranscriptSegment& segment) {
        boost::asio::post(main, [handler, segment] { handler(segment); });
    };
    const auto noteEnd = [this, channel, main = main_, current = std::weak_ptr(recording_)] {
        boost::asio::post(main, [this, channel, current] {
            if (!current.expired()) { // otherwise it was no breakdown: the recording has been stopped
                noteBreakdown(channel);
            }
        });
    };
    return std::make_shared<LiveSpeechTranscriptionSession>(recording_->locale, channel, structuralSpeakerRole(channel),
                                                            handOver, recognition_, conversion_,
                                                            recording_->timelineOrigin, noteEnd);
}

Task<> LiveTranscription::startSession(Session session, AudioChannel channel) {
    bool isStarted = true;
    try {
        co_await session->start(capturedFormat);
    } catch (const std::exception&) {
        isStarted = false;
    }
    const auto wanted = sessions_.find(channel);
    if (wanted == sessions_.end() || wanted->second != session) {
        co_return;
    }
    starting_.erase(channel);
    if (isStarted) {
        relay_.attach(session, channel);
        listening_.insert(channel);
    }
    Q_EMIT listeningChanged();
}

/// What is said from here on is in the recorded files only, unless another model comes.
void LiveTranscription::noteBreakdown(AudioChannel channel) {
    relay_.detach(channel);
    listening_.erase(channel);
    starting_.erase(channel);
    cancel(startTasks_.at(channel));
    if (const auto ended = sessions_.extract(channel)) {
        startTask(main_, finishSession(ended.mapped()));
    }
    Q_EMIT listeningChanged();
}

void LiveTranscription::stop() {
    recording_.reset();
    relay_.detach();
    for (const auto& [channel, task] : startTasks_) {
        cancel(task);
    }
    for (const auto& [channel, session] : sessions_) {
        startTask(main_, finishSession(session));
    }
    startTasks_.clear();
    sessions_.clear();
    starting_.clear();
    listening_.clear();
    Q_EMIT listeningChanged();
}

} // namespace talkledger
