#include "TalkledgerCore/Presentation/CapturePermissionPresentation.h"

#include <utility>

namespace talkledger {
namespace {

CapturePermissionTone toneOf(std::optional<CapturePermissionState> state) {
    switch (state.value_or(CapturePermissionState::unknown)) {
    case CapturePermissionState::authorized:
        return CapturePermissionTone::granted;
    case CapturePermissionState::notDetermined:
        return CapturePermissionTone::undecided;
    case CapturePermissionState::denied:
    case CapturePermissionState::restricted:
        return CapturePermissionTone::refused;
    case CapturePermissionState::unknown:
        break;
    }
    return CapturePermissionTone::unknown;
}

CapturePermissionPresentation row(CapturePermissionKind kind, std::string name,
                                  std::optional<CapturePermissionState> state, const AppCopy& copy,
                                  std::string reasonOfRefusal) {
    const CapturePermissionTone tone = toneOf(state);
    return {.kind = kind,
            .name = std::move(name),
            .state = copy.permissionLabel(state),
            .tone = tone,
            .canBeRequested = tone == CapturePermissionTone::undecided,
            .reason = tone == CapturePermissionTone::refused ? std::move(reasonOfRefusal) : std::string()};
}

/// A state that nobody has found out yet is no reason to worry the user.
bool isMissing(CapturePermissionState state) {
    return state != CapturePermissionState::authorized && state != CapturePermissionState::unknown;
}

} // namespace

std::vector<CapturePermissionPresentation>
capturePermissionPresentations(const std::optional<CapturePermissionSnapshot>& snapshot, const AppCopy& copy) {
    const auto stateOf = [&](CapturePermissionState CapturePermissionSnapshot::*permission) {
        return snapshot ? std::optional((*snapshot).*permission) : std::nullopt;
    };
    return {row(CapturePermissionKind::microphone, copy.microphone(), stateOf(&CapturePermissionSnapshot::microphone),
                copy, copy.microphoneRefused()),
            row(CapturePermissionKind::systemAudio, copy.systemAudio(),
                stateOf(&CapturePermissionSnapshot::systemAudio), copy, copy.systemAudioRefused()),
            row(CapturePermissionKind::screenCapture, copy.screenCapture(),
                stateOf(&CapturePermissionSnapshot::screenCapture), copy, {})};
}

bool needsAttention(const std::optional<CapturePermissionSnapshot>& snapshot) {
    return snapshot && (isMissing(snapshot->microphone) || isMissing(snapshot->systemAudio));
}

std::string startConsequence(const std::optional<CapturePermissionSnapshot>& snapshot, const AppCopy& copy) {
    if (!snapshot || !needsAttention(snapshot)) {
        return {};
    }
    if (!isMissing(snapshot->systemAudio)) {
        return copy.startRecordsSystemAudioOnly();
    }
    return isMissing(snapshot->microphone) ? copy.noTrackStarted() : copy.startRecordsMicrophoneOnly();
}

} // namespace talkledger
