#include "TalkledgerApp/Quitting.h"

#include <utility>

namespace talkledger {

Quitting::Quitting(AppModel& model) : model_(model) {
    connect(&model, &AppModel::isBusyChanged, this, &Quitting::followModel);
}

void Quitting::request() {
    if (isFinishing_) {
        return;
    }
    const bool isStopping = model_.isRecording() && model_.isBusy();
    if (isStopping) {
        stopAndQuit();
    } else if (model_.isRecording() || model_.isBusy()) {
        setIsAsking(true);
    } else {
        Q_EMIT finished();
    }
}

void Quitting::stopAndQuit() {
    canStay_ = true;
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
    const bool isStopping = model_.isRecording() && model_.isBusy();
    if (isStopping || !(model_.isRecording() || model_.isBusy())) {
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
    } else if (canStay_ && model_.statusIsFailure()) {
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
