#pragma once

#include "Rehearsal/RecordingExamination.h"

#include <cstddef>
#include <filesystem>
#include <optional>

namespace talkledger::rehearsal {

struct RehearsalOptions {
    std::filesystem::path outputFolder;
    std::filesystem::path program;
    std::optional<std::filesystem::path> conversation; ///< otherwise the one that comes with the rehearsal
};

struct RehearsalResult {
    RecordingFindings recording;
    WordShares liveWords; ///< that were shown before the recording was stopped
    std::size_t echoesDropped{0};
    double recordingSeconds{0}; ///< from the start action to the stop action
    double captureCpuShare{0};  ///< of a core, while recording
    double cpuShare{0};         ///< processor time up to the finished document over the recording's length
    double stopSeconds{0};      ///< from the stop action to the finished document
};

/// Lets the conversation be recorded by the real program in a private sound session on a virtual display: started from
/// the tray, stopped over the bus, and its summary drafted anew from key phrases and saved in the window. Leaves
/// "recording", the Markdown document, "window.png", "window-recording.png" and "result.json" in the output folder,
/// which is new, empty or an earlier rehearsal's. Throws an exception with one sentence about what is missing or not
/// good enough; that sentence is then in "result.json", too. Called on a thread that outlives it, before the process
/// has another one.
RehearsalResult rehearse(const RehearsalOptions& options);

} // namespace talkledger::rehearsal
