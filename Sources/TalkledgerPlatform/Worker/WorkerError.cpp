#include "TalkledgerPlatform/Worker/WorkerError.h"

#include <string_view>

namespace talkledger {

WorkerError::WorkerError(Case failure, const std::string& description)
    : std::runtime_error(description), failure_(failure) {}

WorkerError WorkerError::cannotStart(const std::filesystem::path& program, const std::string& reason) {
    return {Case::cannotStart,
            "The program \"" + program.string() + "\" cannot be started: " + reason + ". Install Talkledger again."};
}

WorkerError WorkerError::stopped(const std::string& worker) {
    return {Case::stopped, worker + " stopped unexpectedly. Try again."};
}

WorkerError WorkerError::unresponsive(const std::string& worker) {
    return {Case::unresponsive, worker + " stopped responding and was ended. Try again."};
}

WorkerError WorkerError::failed(const std::string& description) {
    return {Case::failed, description};
}

WorkerError WorkerError::failed(const RequestFailed& answer) {
    switch (answer.lack) {
    case EngineLack::memory:
        return {Case::noMemory, answer.description};
    case EngineLack::engine:
        return {Case::noEngine, answer.description};
    case EngineLack::nothing:
        break;
    }
    return failed(answer.description);
}

WorkerError WorkerError::closed(const std::string& worker) {
    return {Case::closed, worker + " was closed."};
}

bool WorkerError::operator==(const WorkerError& other) const {
    return failure_ == other.failure_ && std::string_view(what()) == other.what();
}

} // namespace talkledger
