#include "TalkledgerApp/FirstMinutes.h"

#include <QString>

namespace talkledger {
namespace {

const QString shownKey = QStringLiteral("firstMinutesShown");

} // namespace

FirstMinutes::FirstMinutes(AppModel& model) : model_(model) {
    connect(&model, &AppModel::isBusyChanged, this, [this] {
        if (model_.isBusy()) {
            close();
        }
    });
}

void FirstMinutes::openOnce() {
    if (!model_.settings().value(shownKey, false).toBool() && !model_.isRecording() && !model_.isBusy()) {
        isFirstTime_ = true;
        open();
    }
}

void FirstMinutes::open() {
    model_.settings().setValue(shownKey, true);
    setIsOpen(true);
}

void FirstMinutes::openModels() {
    open();
    Q_EMIT modelsWanted();
}

void FirstMinutes::close() {
    setIsOpen(false);
    isFirstTime_ = false;
}

void FirstMinutes::setIsOpen(bool isOpen) {
    if (isOpen_ != isOpen) {
        isOpen_ = isOpen;
        Q_EMIT isOpenChanged();
    }
}

} // namespace talkledger
