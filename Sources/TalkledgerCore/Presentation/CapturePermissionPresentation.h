#pragma once

#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <optional>
#include <string>
#include <vector>

namespace talkledger {

enum class CapturePermissionTone { granted, undecided, refused, unknown };

/// A row of the permission panel: one permission, how it stands, and what the user can do about it.
struct CapturePermissionPresentation {
    CapturePermissionKind kind{CapturePermissionKind::microphone};
    std::string name;
    std::string state;
    CapturePermissionTone tone{CapturePermissionTone::unknown};
    bool canBeRequested{false}; ///< otherwise the desktop's settings decide
    std::string reason;         ///< what to do about a refusal; empty when there is nothing to say

    bool operator==(const CapturePermissionPresentation&) const = default;
};

/// One row per permission. No snapshot means that they are being asked for.
std::vector<CapturePermissionPresentation>
capturePermissionPresentations(const std::optional<CapturePermissionSnapshot>& snapshot, const AppCopy& copy);

/// Whether a recording started now is known to lack a track.
bool needsAttention(const std::optional<CapturePermissionSnapshot>& snapshot);

/// What a recording started now would lack, as a sentence; empty when nothing is known to be missing.
std::string startConsequence(const std::optional<CapturePermissionSnapshot>& snapshot, const AppCopy& copy);

} // namespace talkledger
