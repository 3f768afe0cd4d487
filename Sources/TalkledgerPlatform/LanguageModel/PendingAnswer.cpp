#include "TalkledgerPlatform/LanguageModel/PendingAnswer.h"

#include <boost/asio/use_awaitable.hpp>

#include <utility>

namespace talkledger {

PendingAnswer::PendingAnswer(std::shared_ptr<boost::asio::io_context> context)
    : context_(std::move(context)), outcome_(*context_, 1) {}

Task<ModelAnswer> PendingAnswer::outcome() {
    Outcome outcome = co_await outcome_.async_receive(boost::asio::use_awaitable);
    if (const auto* failure = std::get_if<Failure>(&outcome)) {
        throw WorkerError(failure->failure, failure->description);
    }
    co_return std::get<ModelAnswer>(std::move(outcome));
}

void PendingAnswer::tell(ModelAnswer answer) {
    outcome_.try_send(boost::system::error_code(), Outcome(std::move(answer)));
}

void PendingAnswer::tellFailed(const WorkerError& error) {
    outcome_.try_send(boost::system::error_code(), Outcome(Failure{error.failure(), error.what()}));
}

} // namespace talkledger
