#include "TalkledgerApp/Quitting.h"

#include <utility>

namespace talkledger {

Quitting::Quitting(AppModel& model, RecordingRevisions& revisions) : model_(model), revisions_(revisions) {
    connect(&model, &AppModel::isBusyChanged, this, &Quitting::followModel);
    connect(&revisions, &RecordingRevisions::ended, this, &Quitting::continueFinishing);
}

/// A recording runs, or is about to, and nobody has stopped it.
bool Quitting::recordsOn() const {
    return (model_.isRecording() || model_.isBusy()) && !model_.isStopping();
}

bool Quitting::hasToWait() const {
    return model_.isRecording() || model_.isBusy() || revisions_.isWorking();
}

void Quitting::request() {
    if (isFinishing_) {
        return;
    }
    if (recordsOn()) {
        setIsAsking(true);
    } else if (hasToWait()) {
        stopAndQuit();
    } else {
        Q_EMIT finished();
    }
}

void Quitting::stopAndQuit() {
    canStay_ = true;
    model_.dismissLastError(); // so that one that is there at the end is of what was waited for
    setIsFinishing(true);
    setIsAsking(false);
    continueFinishing();
}

void Quitting::keepRecording() {
    setIsAsking(false);
}

void Quitting::finish() {
    canStay_ = false;
    setIsFinishing(true);
    setIsAsking(false);
    continueFinishing();
}

void Quitting::followModel() {
    if (!recordsOn()) {
        setIsAsking(false); // someone else has stopped the recording, or it did not come about
    }
    continueFinishing();
}

void Quitting::continueFinishing() {
    if (!isFinishing_ || model_.isBusy()) {
        return;
    }
    if (model_.isRecording()) {
        model_.stopRecording();
    } else if (revisions_.isWorking()) {
        return;
    } else if (canStay_ && model_.lastError()) {
        setIsFinishing(false); // the window says what was not saved
    } else {
        Q_EMIT finished();
    }
}

void Quitting::setIsAsking(bool isAsking) {
    if (std::exchange(isAsking_, isAsking) != isAsking) {
        Q_EMIT isAskingChanged();
    }
}

void Quitting::setIsFinishing(bool isFinishing) {
    if (std::exchange(isFinishing_, isFinishing) != isFinishing) {
        Q_EMIT isFinishingChanged();
    }
}

} // namespace talkledger
