#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Capture/SoundCheck.h"

#include <QObject>
#include <QString>
#include <memory>

namespace talkledger {

/// The check of microphone and system sound as the screens show it. It listens only while it is told to. Main thread.
class SoundCheckModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning WRITE setIsRunning NOTIFY changed)
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY changed)
    Q_PROPERTY(double systemAudioLevel READ systemAudioLevel NOTIFY changed)
    Q_PROPERTY(QString microphoneState READ microphoneState NOTIFY changed)
    Q_PROPERTY(QString systemAudioState READ systemAudioState NOTIFY changed)

public:
    /// `model` has to outlive it.
    explicit SoundCheckModel(const AppModel& model);
    ~SoundCheckModel() override;
    SoundCheckModel(const SoundCheckModel&) = delete;
    SoundCheckModel& operator=(const SoundCheckModel&) = delete;

    bool isRunning() const { return check_.isRunning(); }

    void setIsRunning(bool isRunning);

    /// 0 to 1.
    double microphoneLevel() const { return check_.level(AudioChannel::mic); }

    double systemAudioLevel() const { return check_.level(AudioChannel::speaker); }

    /// `silent`, `heard` or `failed`.
    QString microphoneState() const;
    QString systemAudioState() const;

    /// In the user's default output.
    Q_INVOKABLE void playTestTone();

Q_SIGNALS:
    void changed();

private:
    struct ToneFile;

    Task<void> playTestToneNow(std::shared_ptr<ToneFile> tone);

    const AppModel& model_;
    SoundCheck check_;
    std::shared_ptr<ToneFile> tone_;
};

} // namespace talkledger
