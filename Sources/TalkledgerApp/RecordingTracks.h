#pragma once

#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerCore/Capture/TrackHealth.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <QObject>
#include <QString>
#include <map>
#include <memory>
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

/// What both tracks of the recording in progress do, as the capture reports it, and how far each is transcribed once it
/// has been stopped. Without a recording both run, in silence. Main thread.
class RecordingTracks : public QObject {
    Q_OBJECT
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY microphoneLevelChanged)
    Q_PROPERTY(QString microphone READ microphoneName NOTIFY statesChanged)
    Q_PROPERTY(QString systemAudio READ systemAudioName NOTIFY statesChanged)
    Q_PROPERTY(double transcribedShare READ transcribedShareOfBoth NOTIFY transcribedShareChanged)

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

    /// What is wrong with a track now, or else what it lacks from before.
    std::vector<std::string> problems(const AppCopy& copy) const;

    /// What the recording lacks so far, in English as all messages of a recording are.
    std::vector<std::string> messages() const;

    /// 0 to 1.
    double microphoneLevel() const { return microphoneLevel_; }

    /// 0 to 1, of the track's length.
    double transcribedShare(AudioChannel channel) const;
    void setTranscribedShare(AudioChannel channel, double share);

    /// The screens' forms of the above.
    QString microphoneName() const;
    QString systemAudioName() const;
    double transcribedShareOfBoth() const;

Q_SIGNALS:
    void microphoneLevelChanged();
    void statesChanged();
    void transcribedShareChanged();

private:
    void reset();
    void setMicrophoneLevel(double level);

    std::shared_ptr<CaptureReports> reports_;
    TrackHealth health_;
    std::map<AudioChannel, bool> started_;
    std::map<AudioChannel, double> transcribedShares_;
    double microphoneLevel_{0};
    bool isCapturing_{false};
};

} // namespace talkledger
