#pragma once

#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <string>

namespace talkledger {

enum class RecordingActionTone { start, stop };

/// What the main button shows: it starts a recording, or stops the one in progress.
struct RecordingActionPresentation {
    std::string title;
    std::string systemImageName; ///< the symbol on the button
    RecordingActionTone tone{RecordingActionTone::start};

    RecordingActionPresentation(bool isRecording, const AppCopy& copy);

    bool operator==(const RecordingActionPresentation&) const = default;
};

} // namespace talkledger
