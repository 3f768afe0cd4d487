#include "TalkledgerApp/RecordingTracks.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace talkledger {
namespace {

QString name(TrackState state) {
    switch (state) {
    case TrackState::notStarted:
        return QStringLiteral("notStarted");
    case TrackState::running:
        return QStringLiteral("running");
    case TrackState::waitingForDevice:
        return QStringLiteral("waitingForDevice");
    case TrackState::writeFailed:
        return QStringLiteral("writeFailed");
    }
    return {};
}

} // namespace

RecordingTracks::RecordingTracks(std::shared_ptr<CaptureReports> reports) : reports_(std::move(reports)) {}

void RecordingTracks::begin() {
    reset();
    isCapturing_ = true;
    reports_->beginRecording([this](double level) { setMicrophoneLevel(level); },
                             [this](AudioChannel channel, TrackHealthEvent event) {
                                 health_.apply(channel, event);
                                 Q_EMIT statesChanged();
                             });
}

void RecordingTracks::setStarted(const RecordingDiagnostics& diagnostics) {
    started_ = {{AudioChannel::mic, diagnostics.microphoneStarted},
                {AudioChannel::speaker, diagnostics.systemAudioStarted}};
    Q_EMIT statesChanged();
}

void RecordingTracks::endCapture() {
    isCapturing_ = false;
    Q_EMIT statesChanged();
}

void RecordingTracks::end() {
    reports_->endRecording();
    reset();
}

void RecordingTracks::reset() {
    isCapturing_ = false;
    health_ = {};
    started_.clear();
    transcribedShares_.clear();
    setMicrophoneLevel(0);
    Q_EMIT statesChanged();
    Q_EMIT transcribedShareChanged();
}

TrackState RecordingTracks::state(AudioChannel channel) const {
    const auto started = started_.find(channel);
    if (started != started_.end() && !started->second) {
        return TrackState::notStarted;
    }
    switch (health_.condition(channel)) {
    case TrackCondition::waitingForDevice:
        return TrackState::waitingForDevice;
    case TrackCondition::writeFailed:
        return TrackState::writeFailed;
    case TrackCondition::running:
        break;
    }
    return TrackState::running;
}

std::vector<std::string> RecordingTracks::messages() const {
    std::vector<std::string> messages = health_.messages(AudioChannel::mic);
    std::ranges::copy(health_.messages(AudioChannel::speaker), std::back_inserter(messages));
    return messages;
}

std::vector<std::string> RecordingTracks::problems(const AppCopy& copy) const {
    std::vector<std::string> problems;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        const bool isMicrophone = channel == AudioChannel::mic;
        switch (isCapturing_ ? health_.condition(channel) : TrackCondition::running) {
        case TrackCondition::waitingForDevice:
            problems.push_back(isMicrophone ? copy.microphoneWaiting() : copy.systemAudioWaiting());
            break;
        case TrackCondition::writeFailed:
            problems.push_back(isMicrophone ? copy.microphoneNotWritten() : copy.systemAudioNotWritten());
            break;
        case TrackCondition::running:
            for (const std::string& message : health_.messages(channel)) {
                problems.push_back(copy.diagnosticMessage(message));
            }
        }
    }
    return problems;
}

double RecordingTracks::transcribedShare(AudioChannel channel) const {
    const auto share = transcribedShares_.find(channel);
    return share == transcribedShares_.end() ? 0 : share->second;
}

void RecordingTracks::setTranscribedShare(AudioChannel channel, double share) {
    transcribedShares_[channel] = std::clamp(share, 0.0, 1.0);
    Q_EMIT transcribedShareChanged();
}

QString RecordingTracks::microphoneName() const {
    return name(state(AudioChannel::mic));
}

QString RecordingTracks::systemAudioName() const {
    return name(state(AudioChannel::speaker));
}

double RecordingTracks::transcribedShareOfBoth() const {
    return (transcribedShare(AudioChannel::mic) + transcribedShare(AudioChannel::speaker)) / 2;
}

void RecordingTracks::setMicrophoneLevel(double level) {
    microphoneLevel_ = level;
    Q_EMIT microphoneLevelChanged();
}

} // namespace talkledger
