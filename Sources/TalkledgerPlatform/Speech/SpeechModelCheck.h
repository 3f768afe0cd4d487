#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Speech/TranscriberClient.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"

#include <filesystem>
#include <memory>

namespace talkledger {

/// Tries whether a file is a speech model that works, or one that tells voices from other sounds: it is loaded, and
/// hears one utterance, in a worker of its own, so that a hostile file ends nothing else. Called on the main executor,
/// whose context has to outlive it.
class SpeechModelCheck {
public:
    /// The program is the transcriber.
    explicit SpeechModelCheck(WorkerSettings transcriber);

    /// Returns when the file works; takes as long as loading it. Throws `WorkerError`, whose text is a sentence for the
    /// user. Cancelling this operation gives the check up.
    Task<void> check(std::filesystem::path model);

private:
    std::shared_ptr<TranscriberClient> client_;
};

} // namespace talkledger
