#include "TalkledgerApp/TrackNotice.h"

#include "TalkledgerApp/ScreenText.h"

#include <algorithm>
#include <utility>

namespace talkledger {
namespace {

QString withCount(const std::string& text, int count) {
    return screenText(text).replace(QStringLiteral("{n}"), QString::number(count));
}

} // namespace

TrackNotice::TrackNotice(const AppModel& model) : model_(model) {
    connect(&model.tracks(), &RecordingTracks::statesChanged, this, &TrackNotice::follow);
    connect(&model, &AppModel::displayLanguageChanged, this, &TrackNotice::follow);
}

void TrackNotice::follow() {
    Shown now = found();
    if (now != shown_) {
        shown_ = std::move(now);
        Q_EMIT changed();
    }
}

TrackNotice::Shown TrackNotice::found() const {
    for (const auto kind : {&TrackNotice::ofTrouble, &TrackNotice::ofMissingTrack}) {
        for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
            if (Shown shown = (this->*kind)(channel); !shown.cause.isEmpty()) {
                return shown;
            }
        }
    }
    return ofSilence();
}

TrackNotice::Shown TrackNotice::ofTrouble(AudioChannel channel) const {
    const AppCopy copy = model_.copy();
    const bool isMicrophone = channel == AudioChannel::mic;
    const TrackState state = model_.tracks().isCapturing() ? model_.tracks().state(channel) : TrackState::running;
    if (state == TrackState::writeFailed) {
        return {.cause = screenText(isMicrophone ? copy.microphoneNotWritten() : copy.systemAudioNotWritten()),
                .advice = screenText(copy.checkDiskSpace()),
                .message = {},
                .isAboutMicrophone = isMicrophone};
    }
    if (state == TrackState::waitingForDevice) {
        return {.cause = screenText(isMicrophone ? copy.microphoneWaiting() : copy.systemAudioWaiting()),
                .advice = screenText(copy.goesOnWhenItIsBack()),
                .message = {},
                .isAboutMicrophone = isMicrophone};
    }
    return {};
}

/// Nobody can do anything about it in this recording, so it stays to its end.
TrackNotice::Shown TrackNotice::ofMissingTrack(AudioChannel channel) const {
    if (model_.tracks().hasStarted(channel)) {
        return {};
    }
    const AppCopy copy = model_.copy();
    const bool isMicrophone = channel == AudioChannel::mic;
    const std::string failure = model_.tracks().startFailure(channel).value_or(std::string());
    return {.cause = screenText(isMicrophone ? copy.microphoneNotRecorded() : copy.systemAudioNotRecorded()),
            .advice = screenText(isMicrophone ? copy.connectMicrophone() : copy.chooseOutput()),
            .message = screenText(copy.diagnosticMessage(failure)),
            .isAboutMicrophone = isMicrophone};
}

TrackNotice::Shown TrackNotice::ofSilence() const {
    const RecordingTracks& tracks = model_.tracks();
    if (!tracks.isCapturing()) {
        return {};
    }
    const AppCopy copy = model_.copy();
    const int microphone = tracks.silentMinutes(AudioChannel::mic);
    const int systemAudio = tracks.silentMinutes(AudioChannel::speaker);
    if (microphone > 0 && systemAudio > 0) {
        return {.cause = withCount(copy.bothSilentForMinutes(), std::min(microphone, systemAudio)),
                .advice = screenText(copy.checkBothSounds()),
                .message = {},
                .isAboutMicrophone = false};
    }
    if (microphone > 0) {
        return {.cause = withCount(copy.microphoneSilentForMinutes(), microphone),
                .advice = screenText(copy.checkMicrophoneMute()),
                .message = {},
                .isAboutMicrophone = true};
    }
    if (systemAudio > 0) {
        return {.cause = withCount(copy.otherSideSilentForMinutes(), systemAudio),
                .advice = screenText(copy.checkOutput()),
                .message = {},
                .isAboutMicrophone = false};
    }
    if (tracks.isOtherSideSilent()) {
        return {.cause = screenText(copy.otherSideSilent()),
                .advice = screenText(copy.checkOutput()),
                .message = {},
                .isAboutMicrophone = false};
    }
    return {};
}

} // namespace talkledger
