#pragma once

#include "TalkledgerCore/Capture/RecordingDocumentWriter.h"

#include <QElapsedTimer>
#include <QObject>
#include <chrono>
#include <map>
#include <set>

namespace talkledger {

/// How far the recording that has been stopped has come on its way to being saved. Shares are 0 to 1, of a track's
/// length. Main thread.
class RecordingFinishing : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY changed)
    Q_PROPERTY(bool isSummarizing READ isSummarizing NOTIFY changed)
    Q_PROPERTY(double share READ share NOTIFY changed)
    Q_PROPERTY(double microphoneShare READ microphoneShare NOTIFY changed)
    Q_PROPERTY(double systemAudioShare READ systemAudioShare NOTIFY changed)
    Q_PROPERTY(bool hasMicrophone READ hasMicrophone NOTIFY changed)
    Q_PROPERTY(bool hasSystemAudio READ hasSystemAudio NOTIFY changed)
    Q_PROPERTY(double length READ length NOTIFY changed)
    Q_PROPERTY(int secondsLeft READ secondsLeft NOTIFY changed)

public:
    enum class Step { none, saving, transcribing, summarizing };

    /// The recording has been stopped after `length`; `channels` are the tracks that it has.
    void begin(std::chrono::duration<double> length, const std::set<AudioChannel>& channels);

    /// Its tracks are saved.
    void reach(FinishingStep step);

    /// Ignored for a track that it does not have.
    void setShare(AudioChannel channel, double share);
    void end();

    Step step() const { return step_; }

    double share(AudioChannel channel) const;

    /// Of both together.
    double share() const;

    double length() const { return length_.count(); }

    /// Of the transcription; -1 as long as nobody knows.
    int secondsLeft() const;

    /// The screens' forms of the above.
    bool isSaving() const { return step_ == Step::saving; }

    bool isSummarizing() const { return step_ == Step::summarizing; }

    double microphoneShare() const { return share(AudioChannel::mic); }

    double systemAudioShare() const { return share(AudioChannel::speaker); }

    bool hasMicrophone() const { return shares_.contains(AudioChannel::mic); }

    bool hasSystemAudio() const { return shares_.contains(AudioChannel::speaker); }

Q_SIGNALS:
    void changed();

private:
    Step step_{Step::none};
    std::chrono::duration<double> length_{0};
    std::map<AudioChannel, double> shares_; ///< of the tracks that there are
    QElapsedTimer transcribing_;
};

} // namespace talkledger
