#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Ports/Authorization.h"
#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerCore/Support/Task.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace talkledger {

/// What the operating system has to grant for a recording.
enum class CapturePermissionKind { microphone, systemAudio, screenCapture };

enum class CapturePermissionState { authorized, notDetermined, denied, restricted, unknown };

std::string_view rawValue(CapturePermissionKind kind);
std::string_view rawValue(CapturePermissionState state);

/// Only an authorized capture can be used.
bool isUsable(CapturePermissionState state);

struct CapturePermissionSnapshot {
    CapturePermissionState microphone{CapturePermissionState::unknown};
    CapturePermissionState screenCapture{CapturePermissionState::unknown};
    CapturePermissionState systemAudio{CapturePermissionState::unknown};

    bool operator==(const CapturePermissionSnapshot&) const = default;
};

Json toJson(const CapturePermissionSnapshot& snapshot);
template <>
CapturePermissionSnapshot fromJson(const JsonReader& reader);

/// Reads the capture permissions without prompting, and requests them. Called on the main executor; the ports have to
/// outlive what is under way.
class CapturePermissionInspector {
public:
    CapturePermissionInspector() = delete;

    /// Never prompts, but may block; the system audio stays unknown, since only a query tells.
    static CapturePermissionSnapshot quickSnapshot(const Authorization& authorization);

    /// Never prompts. Here and below, what may block runs on `background`.
    static Task<CapturePermissionSnapshot> snapshot(const Authorization& authorization, SystemAudio& systemAudio,
                                                    Executor background);

    static CapturePermissionState microphoneState(AuthorizationStatus from);

    /// Prompts if undecided; an unanswered prompt is unknown.
    static Task<CapturePermissionState> requestMicrophoneAccess(Authorization& authorization,
                                                                std::chrono::duration<double> timeoutSeconds,
                                                                Executor background);
    static Task<CapturePermissionState> requestScreenCaptureAccess(Authorization& authorization, Executor background);
    static Task<CapturePermissionState> requestSystemAudioAccess(SystemAudio& systemAudio);

    /// Names the settings page where the user changes the permission; the desktop opens it.
    static std::string settingsURL(CapturePermissionKind kind);

    /// Whether the microphone may be used; prompts if undecided. Throws `AudioCaptureError` when the prompt is not
    /// answered in time.
    static Task<bool> microphoneAccess(Authorization& authorization, std::chrono::duration<double> timeout,
                                       Executor background);
};

} // namespace talkledger
