#include "TalkledgerPlatform/Speech/WorkerError.h"

#include <string_view>

namespace talkledger {

WorkerError::WorkerError(Case failure, const std::string& description)
    : std::runtime_error(description), failure_(failure) {}

WorkerError WorkerError::cannotStart(const std::filesystem::path& program, const std::string& reason) {
    return {Case::cannotStart,
            "The program \"" + program.string() + "\" cannot be started: " + reason + ". Install Talkledger again."};
}

WorkerError WorkerError::stopped() {
    return {Case::stopped, "The speech recogniser stopped unexpectedly. Try again."};
}

WorkerError WorkerError::unresponsive() {
    return {Case::unresponsive, "The speech recogniser stopped responding and was ended. Try again."};
}

WorkerError WorkerError::failed(const std::string& description) {
    return {Case::failed, description};
}

WorkerError WorkerError::closed() {
    return {Case::closed, "The speech recogniser was closed."};
}

bool WorkerError::operator==(const WorkerError& other) const {
    return failure_ == other.failure_ && std::string_view(what()) == other.what();
}

} // namespace talkledger
