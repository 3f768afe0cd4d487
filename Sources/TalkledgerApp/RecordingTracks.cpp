#include "TalkledgerApp/RecordingTracks.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace talkledger {
namespace {

constexpr std::chrono::seconds silenceOfOtherSide{20};
constexpr std::chrono::minutes unusualSilence{2};

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
    reports_->beginRecording([this](AudioChannel channel, double level, MonotonicTime at) { hear(channel, level, at); },
                             [this](AudioChannel channel, TrackHealthEvent event) {
                                 health_.apply(channel, event);
                                 Q_EMIT statesChanged();
                             });
}

void RecordingTracks::setStarted(const RecordingDiagnostics& diagnostics) {
    begun_ = diagnostics;
    hasBegun_ = true;
    Q_EMIT statesChanged();
}

void RecordingTracks::endCapture() {
    isCapturing_ = false;
    setLevel(AudioChannel::mic, 0);
    setLevel(AudioChannel::speaker, 0);
    Q_EMIT statesChanged();
}

void RecordingTracks::end() {
    reports_->endRecording();
    reset();
}

void RecordingTracks::reset() {
    isCapturing_ = false;
    health_ = {};
    silence_ = {};
    silentMinutes_.clear();
    isOtherSideSilent_ = false;
    hasBegun_ = false;
    setLevel(AudioChannel::mic, 0);
    setLevel(AudioChannel::speaker, 0);
    Q_EMIT statesChanged();
}

bool RecordingTracks::hasStarted(AudioChannel channel) const {
    return !hasBegun_ || (channel == AudioChannel::mic ? begun_.microphoneStarted : begun_.systemAudioStarted);
}

std::optional<std::string> RecordingTracks::startFailure(AudioChannel channel) const {
    const char* const prefix =
        channel == AudioChannel::mic ? "Microphone capture failed: " : "System audio capture failed: ";
    const auto failure =
        std::ranges::find_if(begun_.messages, [&](const std::string& message) { return message.starts_with(prefix); });
    return hasStarted(channel) || failure == begun_.messages.end() ? std::nullopt : std::optional(*failure);
}

TrackState RecordingTracks::state(AudioChannel channel) const {
    if (!hasStarted(channel)) {
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

void RecordingTracks::hear(AudioChannel channel, double level, MonotonicTime at) {
    setLevel(channel, level);
    silence_.hear(channel, level, at);
    followSilence();
}

void RecordingTracks::followSilence() {
    std::map<AudioChannel, int> minutes;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        const auto whole = std::chrono::duration_cast<std::chrono::minutes>(silence_.duration(channel));
        minutes[channel] = whole < unusualSilence ? 0 : static_cast<int>(whole.count());
    }
    const bool isOtherSideSilent = silence_.duration(AudioChannel::speaker) >= silenceOfOtherSide;
    const bool hasChanged = minutes != silentMinutes_ || isOtherSideSilent != isOtherSideSilent_;
    silentMinutes_ = std::move(minutes);
    isOtherSideSilent_ = isOtherSideSilent;
    if (hasChanged) {
        Q_EMIT statesChanged();
    }
}

int RecordingTracks::silentMinutes(AudioChannel channel) const {
    const auto minutes = silentMinutes_.find(channel);
    return minutes == silentMinutes_.end() ? 0 : minutes->second;
}

QString RecordingTracks::microphoneName() const {
    return name(state(AudioChannel::mic));
}

QString RecordingTracks::systemAudioName() const {
    return name(state(AudioChannel::speaker));
}

void RecordingTracks::setLevel(AudioChannel channel, double level) {
    if (channel == AudioChannel::mic) {
        microphoneLevel_ = level;
        Q_EMIT microphoneLevelChanged();
    } else {
        systemAudioLevel_ = level;
        Q_EMIT systemAudioLevelChanged();
    }
}

} // namespace talkledger
