#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"
#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"

#include <filesystem>
#include <memory>

namespace talkledger {

/// Has the summarizer, a program of its own, answer with a language model. The program is started by the first
/// question, kept for further ones, and ended when none has come for a while and no model is held. One that crashes,
/// hangs or talks nonsense fails the questions under way with a `WorkerError`, and nothing else; the next question
/// starts a new one. All traffic with it runs on a thread of this object. Called on one thread. Contexts on which
/// coroutines wait for answers have to outlive it; they may go on waiting when it goes, and then are told so.
class SummarizerClient {
public:
    explicit SummarizerClient(WorkerSettings settings);

    /// Fails what is under way, ends the program and waits for its end, which it is given the settings' grace for.
    ~SummarizerClient();
    SummarizerClient(const SummarizerClient&) = delete;
    SummarizerClient& operator=(const SummarizerClient&) = delete;

    /// `request` is chosen here. Throws `WorkerError`; cancelling the operation cancels the question.
    Task<ModelAnswer> ask(AskModel question);
    Task<ModelAnswer> check(CheckLanguageModel request);

    /// Questions will come: the model is loaded now, and stays so until `release`.
    void hold(const std::filesystem::path& model);
    void release();

private:
    class Service;

    template <typename Request>
    Task<ModelAnswer> start(Request request);

    std::shared_ptr<Service> service_; ///< questions know whether it is still there
};

} // namespace talkledger
