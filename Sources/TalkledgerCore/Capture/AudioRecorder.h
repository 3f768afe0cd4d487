#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <filesystem>

namespace talkledger {

/// One capture track of a recording. Called on the main executor; failures are exceptions whose text the user may read.
class AudioRecorder {
public:
    AudioRecorder() = default;
    AudioRecorder(const AudioRecorder&) = delete;
    AudioRecorder& operator=(const AudioRecorder&) = delete;
    virtual ~AudioRecorder() = default;

    /// Starts capturing into the file, which is replaced.
    virtual Task<void> startRecording(std::filesystem::path to) = 0;

    /// Stops capturing and finishes the file.
    virtual Task<void> stopRecording() = 0;
};

} // namespace talkledger
