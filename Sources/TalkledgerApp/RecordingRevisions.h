#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Capture/RecordingRevision.h"

#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <optional>

namespace talkledger {

/// What the user has done for recordings afterwards: one at a time, while the next recording may already be in
/// progress. A failure is shown as the model's last error; the documents that there were stay. Main thread.
class RecordingRevisions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString recordingID READ recordingID NOTIFY changed)
    Q_PROPERTY(Work work READ work NOTIFY changed)
    Q_PROPERTY(double transcribedShare READ transcribedShare NOTIFY transcribedShareChanged)

public:
    enum class Work { none, finishing, transcribing, summarizing };
    Q_ENUM(Work)

    /// `model` and its ports have to outlive it.
    RecordingRevisions(AppModel& model, Executor main);

    /// The recording that is worked on; empty: none.
    const QString& recordingID() const { return recordingID_; }

    Work work() const { return work_; }

    bool isWorking() const { return work_ != Work::none; }

    /// Of the track that is behind, 0 to 1.
    double transcribedShare() const;

    /// Whether it has no end and is not in progress: a crash or a power cut ended it.
    Q_INVOKABLE bool isInterrupted(const QString& recordingID) const;

    /// Ignored while another recording is worked on, for an unknown recording, and for one in progress.
    Q_INVOKABLE void finish(const QString& recordingID);
    Q_INVOKABLE void transcribeAgain(const QString& recordingID);
    Q_INVOKABLE void summarizeAgain(const QString& recordingID);
    Q_INVOKABLE void useLiveTranscript(const QString& recordingID);
    Q_INVOKABLE void draftFromKeyPhrases(const QString& recordingID);

Q_SIGNALS:
    void changed();
    void transcribedShareChanged();

    /// Of the work, however it went: what has failed is shown.
    void ended();

private:
    using Revise = std::function<Task<void>(RecordingSession)>;

    void begin(const QString& recordingID, Work work, const Revise& revise);
    Task<void> perform(RecordingSession session, Revise revise);
    void setWork(const QString& recordingID, Work work);

    AppModel& model_;
    Executor main_;
    QString recordingID_;
    Work work_{Work::none};
    std::map<AudioChannel, double> transcribedShares_;
    std::optional<RecordingStore> store_; ///< absent when the model has none
    std::optional<RecordingRevision> revision_;
};

} // namespace talkledger
