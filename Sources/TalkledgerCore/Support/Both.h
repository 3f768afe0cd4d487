#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/deferred.hpp>
#include <boost/asio/experimental/parallel_group.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <utility>

namespace talkledger {

/// The results of two operations that run at once. The first failure cancels the other operation and is the one
/// thrown; a cancellation of the whole cancels both. Asio's own operator would throw the first operand's failure, which
/// may be no more than its cancellation. For source files only, since its includes are heavy.
template <typename First, typename Second>
Task<std::pair<First, Second>> both(Task<First> first, Task<Second> second) {
    namespace asio = boost::asio;
    const auto executor = co_await asio::this_coro::executor;
    auto [order, firstFailure, firstResult, secondFailure, secondResult] =
        co_await asio::experimental::make_parallel_group(asio::co_spawn(executor, std::move(first), asio::deferred),
                                                         asio::co_spawn(executor, std::move(second), asio::deferred))
            .async_wait(asio::experimental::wait_for_one_error(), asio::use_awaitable);
    const std::exception_ptr failures[] = {firstFailure, secondFailure};
    for (const std::size_t index : order) {
        if (failures[index]) {
            std::rethrow_exception(failures[index]);
        }
    }
    co_return std::pair(std::move(firstResult), std::move(secondResult));
}

} // namespace talkledger
