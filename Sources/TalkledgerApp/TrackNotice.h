#pragma once

#include "TalkledgerApp/AppModel.h"

#include <QObject>
#include <QString>

namespace talkledger {

/// The worst of what the tracks of the recording in progress lack just now, and what can be done about it: first what
/// is being lost, then what is not recorded at all, then a silence that may be a mistake. It goes by itself. Main
/// thread.
class TrackNotice : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString cause READ cause NOTIFY changed)
    Q_PROPERTY(QString advice READ advice NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(bool isAboutMicrophone READ isAboutMicrophone NOTIFY changed)

public:
    /// `model` has to outlive it.
    explicit TrackNotice(const AppModel& model);

    /// Empty: nothing is amiss.
    const QString& cause() const { return shown_.cause; }

    const QString& advice() const { return shown_.advice; }

    /// The words of what failed, if it did.
    const QString& message() const { return shown_.message; }

    bool isAboutMicrophone() const { return shown_.isAboutMicrophone; }

Q_SIGNALS:
    void changed();

private:
    struct Shown {
        QString cause;
        QString advice;
        QString message;
        bool isAboutMicrophone{false};

        bool operator==(const Shown&) const = default;
    };

    void follow();
    Shown found() const;
    Shown ofTrouble(AudioChannel channel) const;
    Shown ofMissingTrack(AudioChannel channel) const;
    Shown ofSilence() const;

    const AppModel& model_;
    Shown shown_;
};

} // namespace talkledger
