#include "TalkledgerPlatform/Speech/SpeechModelCheck.h"

#include "TalkledgerPlatform/Speech/Transcription.h"

#include <exception>
#include <utility>

namespace talkledger {

namespace {

/// The worker's end means that the file broke it.
WorkerError refusal(const std::filesystem::path& model, const WorkerError& error) {
    if (error.failure() != WorkerError::Case::stopped && error.failure() != WorkerError::Case::unresponsive) {
        return error;
    }
    return WorkerError::failed("The file \"" + model.string() +
                               "\" does not work as a speech model. Download the model again, or choose another file.");
}

Task<void> run(std::shared_ptr<TranscriberClient> client, std::filesystem::path model) {
    const auto trial = client->makeTranscription();
    client->check(trial, {.request = 0, .path = std::filesystem::absolute(model)});
    try {
        while ((co_await trial->next()).has_value()) {
        }
    } catch (const WorkerError& error) {
        throw refusal(model, error);
    } catch (const std::exception&) {
        client->cancel(trial); // nobody waits for the answer any more
        throw;
    }
}

} // namespace

SpeechModelCheck::SpeechModelCheck(WorkerSettings transcriber)
    : client_(std::make_shared<TranscriberClient>(std::move(transcriber))) {}

Task<void> SpeechModelCheck::check(std::filesystem::path model) {
    return run(client_, std::move(model));
}

} // namespace talkledger
