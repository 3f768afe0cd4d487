#pragma once

#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerCore/Capture/TrackHealth.h"
#include "TalkledgerCore/Capture/TrackSilence.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <QObject>
#include <QString>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {

/// How one track of the recording in progress does.
enum class TrackState {
    notStarted, ///< it could not be started; the recording goes on without it
    running,
    waitingForDevice,
    writeFailed,
};

/// What both tracks of the recording in progress do, as the capture reports it. Without a recording both run, in
/// silence. Main thread.
class RecordingTracks : public QObject {
    Q_OBJECT
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY microphoneLevelChanged)
    Q_PROPERTY(QString microphone READ microphoneName NOTIFY statesChanged)
    Q_PROPERTY(QString systemAudio READ systemAudioName NOTIFY statesChanged)
    Q_PROPERTY(double systemAudioLevel READ systemAudioLevel NOTIFY systemAudioLevelChanged)
    Q_PROPERTY(int microphoneSilentMinutes READ microphoneSilentMinutes NOTIFY statesChanged)
    Q_PROPERTY(int systemAudioSilentMinutes READ systemAudioSilentMinutes NOTIFY statesChanged)

public:
    explicit RecordingTracks(std::shared_ptr<CaptureReports> reports);

    /// A recording begins. What is reported from now on is about it.
    void begin();

    /// Which tracks could be started.
    void setStarted(const RecordingDiagnostics& diagnostics);

    /// The recording is being stopped: nothing can get better any more.
    void endCapture();

    /// The recording has ended.
    void end();

    TrackState state(AudioChannel channel) const;

    /// A track of the recording was started; also when there is no recording.
    bool hasStarted(AudioChannel channel) const;

    /// Why a track could not be started, as a message of the recording.
    std::optional<std::string> startFailure(AudioChannel channel) const;

    /// Nothing better can be hoped for: it is being stopped, or there is none.
    bool isCapturing() const { return isCapturing_; }

    /// The other side has been silent for so long that it may not be heard at all.
    bool isOtherSideSilent() const { return isOtherSideSilent_; }

    /// For how many minutes nothing has been heard on a track; 0 as long as they are few.
    int silentMinutes(AudioChannel channel) const;

    /// What the recording lacks so far, in English as all messages of a recording are.
    std::vector<std::string> messages() const;

    /// 0 to 1.
    double microphoneLevel() const { return microphoneLevel_; }

    double systemAudioLevel() const { return systemAudioLevel_; }

    /// The screens' forms of the above.
    QString microphoneName() const;
    QString systemAudioName() const;

    int microphoneSilentMinutes() const { return silentMinutes(AudioChannel::mic); }

    int systemAudioSilentMinutes() const { return silentMinutes(AudioChannel::speaker); }

Q_SIGNALS:
    void microphoneLevelChanged();
    void systemAudioLevelChanged();
    void statesChanged();

private:
    void reset();
    void hear(AudioChannel channel, double level, MonotonicTime at);
    void setLevel(AudioChannel channel, double level);
    void followSilence();

    std::shared_ptr<CaptureReports> reports_;
    TrackHealth health_;
    TrackSilence silence_;
    std::map<AudioChannel, int> silentMinutes_;
    bool isOtherSideSilent_{false};
    RecordingDiagnostics begun_;
    bool hasBegun_{false};
    double microphoneLevel_{0};
    double systemAudioLevel_{0};
    bool isCapturing_{false};
};

} // namespace talkledger
