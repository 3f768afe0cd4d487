#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerPlatform/Worker/WorkerError.h"
#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"

#include <boost/asio/experimental/concurrent_channel.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>
#include <string>
#include <variant>

namespace talkledger {

/// What the summarizer's client and whoever asked share of a question. The client's thread puts the outcome in; the
/// coroutine that waits resumes on its own executor. For source files only, since its includes are heavy.
class PendingAnswer {
public:
    explicit PendingAnswer(std::shared_ptr<boost::asio::io_context> context);

    /// Once. Throws `WorkerError`, and `system_error` when this operation is cancelled.
    Task<ModelAnswer> outcome();

    // For the client, on its thread, and only one of them:

    void tell(ModelAnswer answer);
    void tellFailed(const WorkerError& error);

private:
    /// No exception object: its reference count would be shared by two threads inside the C++ library, which the thread
    /// sanitizer cannot see.
    struct Failure {
        WorkerError::Case failure{WorkerError::Case::failed};
        std::string description;
    };

    using Outcome = std::variant<ModelAnswer, Failure>;

    std::shared_ptr<boost::asio::io_context> context_; ///< the channel lives in it
    boost::asio::experimental::concurrent_channel<void(boost::system::error_code, Outcome)> outcome_;
};

} // namespace talkledger
