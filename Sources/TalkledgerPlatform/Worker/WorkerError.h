#pragma once

#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace talkledger {

/// Why a worker could not do what it was asked for.
class WorkerError : public std::runtime_error {
public:
    enum class Case {
        cannotStart,  ///< the program is missing or refuses to run
        stopped,      ///< it ended, or broke the rules of the protocol
        unresponsive, ///< it gave no sign of life for too long, and was ended
        failed,       ///< it answered that the request cannot be fulfilled
        noMemory,     ///< likewise, since there is too little of it
        noEngine,     ///< likewise, since it was built without the engine
        closed        ///< the client was closed while the request was under way
    };

    WorkerError(Case failure, const std::string& description);

    static WorkerError cannotStart(const std::filesystem::path& program, const std::string& reason);
    static WorkerError failed(const std::string& description);
    static WorkerError failed(const RequestFailed& answer);

    // `worker` is the worker's name at a sentence's beginning, like "The speech recogniser".
    static WorkerError stopped(const std::string& worker);
    static WorkerError unresponsive(const std::string& worker);
    static WorkerError closed(const std::string& worker);

    Case failure() const { return failure_; }

    bool operator==(const WorkerError& other) const;

private:
    Case failure_;
};

} // namespace talkledger
