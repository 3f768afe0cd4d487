#include "TalkledgerApp/RecordingPlayer.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>

#include <QVariantMap>
#include <algorithm>
#include <chrono>
#include <utility>

namespace talkledger {
namespace {

/// Often enough for the eye.
constexpr std::chrono::milliseconds clockInterval{50};

/// So close to the end nothing is left to be heard.
constexpr double endTolerance = 0.05;

PlaybackTrack trackOf(const FileSystem& files, const std::filesystem::path& file, double start) {
    const bool hasSound = files.fileExists(file) && files.fileSize(file).value_or(0) > 0;
    return {.file = hasSound ? file : std::filesystem::path(), .start = start};
}

} // namespace

RecordingPlayer::RecordingPlayer(const AppModel& model, const StoredTranscript& transcript)
    : model_(model),
      transcript_(transcript),
      playback_(model.ports().playback),
      self_(std::make_shared<RecordingPlayer*>(this)) {
    playback_.setEventHandler([weak = std::weak_ptr(self_), main = model.mainExecutor()](const PlaybackEvent& event) {
        boost::asio::post(main, [weak, event] {
            if (const auto self = weak.lock()) {
                (*self)->take(event);
            }
        });
    });
    clock_.setInterval(clockInterval);
    connect(&clock_, &QTimer::timeout, this, &RecordingPlayer::follow);
    connect(&model, &AppModel::sessionsChanged, this, &RecordingPlayer::load);
    connect(&model, &AppModel::currentSessionChanged, this, &RecordingPlayer::load);
    connect(&transcript, &StoredTranscript::changed, this, &RecordingPlayer::loadTalk);
}

RecordingPlayer::~RecordingPlayer() {
    playback_.stop();
}

void RecordingPlayer::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        pause();
        clearFailure();
        setDuration(0);
        load();
        setPosition(0);
    }
}

void RecordingPlayer::load() {
    files_ = {};
    const RecordingSession* const session = model_.session(recordingID_);
    if (session != nullptr && recordingID_ != model_.currentRecordingID()) {
        const FileSystem& fileSystem = model_.ports().fileSystem;
        const RecordingTimeline timeline = RecordingTimeline::load(fileSystem, session->directory);
        files_ = {trackOf(fileSystem, session->artifacts.micAudio, timeline.micStart),
                  trackOf(fileSystem, session->artifacts.speakerAudio, timeline.speakerStart)};
        boost::asio::co_spawn(model_.mainExecutor(), measure(recordingID_), boost::asio::detached);
    }
    if (!canPlay()) {
        pause();
    }
    loadTalk();
}

void RecordingPlayer::loadTalk() {
    talk_.clear();
    for (const TranscriptSegment& segment : transcript_.content().segments) {
        talk_.push_back(QVariantMap{{QStringLiteral("begin"), segment.startTime},
                                    {QStringLiteral("end"), segment.startTime + segment.duration},
                                    {QStringLiteral("isMine"), segment.role == SpeakerRole::me}});
    }
    Q_EMIT recordingChanged();
}

/// A file that cannot be measured cannot be heard either.
Task<void> RecordingPlayer::measure(QString recordingID) {
    const std::weak_ptr<RecordingPlayer*> weak = self_;
    const std::array<PlaybackTrack, 2> files = files_;
    AudioFiles& audioFiles = model_.ports().audioFiles;
    double end = 0;
    for (const PlaybackTrack& track : files) {
        if (!track.file.empty()) {
            const std::optional<double> seconds = co_await audioFiles.duration(track.file);
            end = std::max(end, seconds ? track.start + *seconds : 0);
        }
    }
    if (const auto self = weak.lock(); self && (*self)->recordingID_ == recordingID) {
        (*self)->setDuration(end);
    }
}

void RecordingPlayer::setDuration(double duration) {
    if (std::exchange(duration_, duration) != duration) {
        Q_EMIT durationChanged();
    }
}

void RecordingPlayer::setSpeed(double speed) {
    if (std::exchange(speed_, speed) != speed) {
        Q_EMIT speedChanged();
        requestFromHere();
    }
}

void RecordingPlayer::setTracks(Tracks tracks) {
    if (std::exchange(tracks_, tracks) != tracks) {
        Q_EMIT tracksChanged();
        requestFromHere();
    }
}

void RecordingPlayer::toggle() {
    isPlaying_ ? pause() : play();
}

void RecordingPlayer::play() {
    if (!canPlay()) {
        return;
    }
    if (duration_ > 0 && position_ >= duration_ - endTolerance) {
        setPosition(0);
    }
    request();
}

void RecordingPlayer::request() {
    clearFailure();
    requested_.clear();
    PlaybackRequest wanted{.tracks = {}, .from = position_, .speed = speed_};
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        if (isAudible(channel)) {
            requested_.push_back(channel);
            wanted.tracks.push_back(file(channel));
        }
    }
    request_ = playback_.play(std::move(wanted));
    setIsPlaying(true);
}

void RecordingPlayer::requestFromHere() {
    if (isPlaying_) {
        setPosition(playback_.position());
        request();
    }
}

/// A track that was chosen for another recording may be missing in this one.
bool RecordingPlayer::isAudible(AudioChannel channel) const {
    const auto [only, other] = channel == AudioChannel::mic ? std::pair(microphone, AudioChannel::speaker)
                                                            : std::pair(systemAudio, AudioChannel::mic);
    return has(channel) && (tracks_ == both || tracks_ == only || !has(other));
}

void RecordingPlayer::pause() {
    if (isPlaying_) {
        setPosition(playback_.position());
        playback_.stop();
        setIsPlaying(false);
    }
}

void RecordingPlayer::seek(double position) {
    setPosition(std::clamp(position, 0.0, std::max(duration_, 0.0)));
    if (isPlaying_) {
        request();
    }
}

void RecordingPlayer::skip(double seconds) {
    seek((isPlaying_ ? playback_.position() : position_) + seconds);
}

void RecordingPlayer::playLine(int row) {
    const std::vector<TranscriptLineSpan>& spans = transcript_.content().spans;
    if (canPlay() && row >= 0 && static_cast<std::size_t>(row) < spans.size()) {
        setPosition(spans[static_cast<std::size_t>(row)].begin);
        request();
    }
}

void RecordingPlayer::follow() {
    setPosition(playback_.position());
}

void RecordingPlayer::take(const PlaybackEvent& event) {
    if (event.request != request_) {
        return;
    }
    const AppCopy copy = model_.copy();
    switch (event.kind) {
    case PlaybackEvent::Kind::trackFailed: {
        const bool isMicrophone = requested_.at(event.track) == AudioChannel::mic;
        addFailure(isMicrophone ? copy.microphoneNotPlayable() : copy.systemAudioNotPlayable(), event.description);
        break;
    }
    case PlaybackEvent::Kind::failed:
        addFailure(copy.recordingNotPlayable(), event.description);
        pause();
        break;
    case PlaybackEvent::Kind::ended:
        pause();
        break;
    }
}

void RecordingPlayer::addFailure(const std::string& sentence, const std::string& reason) {
    if (!failure_.isEmpty()) {
        failure_ += QLatin1Char(' ');
    }
    failure_ += QString::fromStdString(sentence + " " + reason);
    Q_EMIT failureChanged();
}

void RecordingPlayer::clearFailure() {
    if (!failure_.isEmpty()) {
        failure_.clear();
        Q_EMIT failureChanged();
    }
}

void RecordingPlayer::setIsPlaying(bool isPlaying) {
    if (std::exchange(isPlaying_, isPlaying) != isPlaying) {
        isPlaying ? clock_.start() : clock_.stop();
        Q_EMIT isPlayingChanged();
    }
}

void RecordingPlayer::setPosition(double position) {
    if (std::exchange(position_, position) != position) {
        Q_EMIT positionChanged();
    }
    // The lines are in the order of their beginnings; of two that overlap, the later one counts.
    const std::vector<TranscriptLineSpan>& spans = transcript_.content().spans;
    const auto next = std::ranges::upper_bound(spans, position_, {}, &TranscriptLineSpan::begin);
    const int line = static_cast<int>(next - spans.begin()) - 1;
    if (std::exchange(currentLine_, line) != line) {
        Q_EMIT currentLineChanged();
    }
}

} // namespace talkledger
