#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/StoredTranscript.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace talkledger {

/// Plays the chosen recording: both of its tracks on their common time line, or one of them. It goes on while another
/// recording is made; that one does not hear it. Times are seconds on the recording's time line. Main thread.
class RecordingPlayer : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool canPlay READ canPlay NOTIFY recordingChanged)
    Q_PROPERTY(bool hasMicrophone READ hasMicrophone NOTIFY recordingChanged)
    Q_PROPERTY(bool hasSystemAudio READ hasSystemAudio NOTIFY recordingChanged)
    Q_PROPERTY(QVariantList talk READ talk NOTIFY recordingChanged)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    Q_PROPERTY(double position READ position NOTIFY positionChanged)
    Q_PROPERTY(int currentLine READ currentLine NOTIFY currentLineChanged)
    Q_PROPERTY(double speed READ speed WRITE setSpeed NOTIFY speedChanged)
    Q_PROPERTY(Tracks tracks READ tracks WRITE setTracks NOTIFY tracksChanged)
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)

public:
    enum Tracks { both, microphone, systemAudio };
    Q_ENUM(Tracks)

    /// Both have to outlive it.
    RecordingPlayer(const AppModel& model, const StoredTranscript& transcript);
    ~RecordingPlayer() override;
    RecordingPlayer(const RecordingPlayer&) = delete;
    RecordingPlayer& operator=(const RecordingPlayer&) = delete;

    /// What was played stops.
    void setRecordingID(const QString& recordingID);

    /// There is sound of a recording that is not in progress.
    bool canPlay() const { return hasMicrophone() || hasSystemAudio(); }

    bool hasMicrophone() const { return has(AudioChannel::mic); }

    bool hasSystemAudio() const { return has(AudioChannel::speaker); }

    /// Who speaks when: maps of a beginning, an end and whether it is the user's own voice.
    const QVariantList& talk() const { return talk_; }

    /// 0 until it is known.
    double duration() const { return duration_; }

    bool isPlaying() const { return isPlaying_; }

    double position() const { return position_; }

    /// The row of the transcript that is being said; -1 before the first.
    int currentLine() const { return currentLine_; }

    double speed() const { return speed_; }

    void setSpeed(double speed);

    Tracks tracks() const { return tracks_; }

    void setTracks(Tracks tracks);

    /// Why something could not be played, until it is played again.
    const QString& failure() const { return failure_; }

    Q_INVOKABLE void toggle();
    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void seek(double position);
    Q_INVOKABLE void skip(double seconds);
    Q_INVOKABLE void playLine(int row);

Q_SIGNALS:
    void recordingChanged();
    void durationChanged();
    void isPlayingChanged();
    void positionChanged();
    void currentLineChanged();
    void speedChanged();
    void tracksChanged();
    void failureChanged();

private:
    void load();
    void loadTalk();
    Task<void> measure(QString recordingID);
    void setDuration(double duration);

    const PlaybackTrack& file(AudioChannel channel) const { return files_[channel == AudioChannel::mic ? 0 : 1]; }

    bool has(AudioChannel channel) const { return !file(channel).file.empty(); }

    void request();
    void requestFromHere();
    bool isAudible(AudioChannel channel) const;
    void follow();
    void take(const PlaybackEvent& event);
    void addFailure(const std::string& sentence, const std::string& reason);
    void setIsPlaying(bool isPlaying);
    void setPosition(double position);
    void clearFailure();

    const AppModel& model_;
    const StoredTranscript& transcript_;
    Playback& playback_;
    std::shared_ptr<RecordingPlayer*> self_; ///< for what comes from elsewhere and may come too late
    QString recordingID_;
    std::array<PlaybackTrack, 2> files_;  ///< microphone and system audio; an empty path: there is none
    std::vector<AudioChannel> requested_; ///< the tracks of the last request
    QVariantList talk_;
    double duration_{0};
    std::uint64_t request_{0};
    bool isPlaying_{false};
    double position_{0};
    int currentLine_{-1};
    double speed_{1};
    Tracks tracks_{both};
    QString failure_;
    QTimer clock_;
};

} // namespace talkledger
