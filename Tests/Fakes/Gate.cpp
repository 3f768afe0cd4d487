#include "Fakes/Gate.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

namespace talkledger::testing {

void Gate::open() {
    isOpen_ = true;
    for (boost::asio::steady_timer* waiting : waiting_) {
        waiting->cancel();
    }
}

Task<> Gate::pass() {
    if (isOpen_) {
        co_return;
    }
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor,
                                    boost::asio::steady_timer::time_point::max());
    waiting_.push_back(&timer);
    const auto [ended] = co_await timer.async_wait(boost::asio::as_tuple(boost::asio::use_awaitable));
    std::erase(waiting_, &timer);
    if (!isOpen_) {
        ++cancelledCount_;
        throw boost::system::system_error(ended);
    }
}

} // namespace talkledger::testing
