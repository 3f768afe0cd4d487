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
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        const Session session = makeSession(locale, channel, timelineOrigin, segmentHandler);
        sessions_[channel] = session;
        starting_.insert(channel);
        startTasks_[channel] = startTask(main_, startSession(session, channel));
    }
}

LiveTranscription::Session LiveTranscription::makeSession(const std::string& locale, AudioChannel channel,
                                                          MonotonicTime timelineOrigin,
                                                          const SegmentHandler& segmentHandler) {
    const auto handOver = [main = main_, segmentHandler](const TranscriptSegment& segment) {
        boost::asio::post(main, [segmentHandler, segment] { segmentHandler(segment); });
    };
    return std::make_shared<LiveSpeechTranscriptionSession>(locale, channel, structuralSpeakerRole(channel), handOver,
                                                            recognition_, conversion_, timelineOrigin);
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

void LiveTranscription::stop() {
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
