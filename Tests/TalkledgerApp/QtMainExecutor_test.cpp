#include "TalkledgerApp/QtMainExecutor.h"
#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerCore/Support/Task.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace talkledger {
namespace {

namespace asio = boost::asio;

class QtMainExecutorTest : public ::testing::Test {
protected:
    Executor main() { return QtMainExecutor(context_); }

    /// Runs the loop until `task` has ended.
    std::exception_ptr run(Task<void> task) {
        std::exception_ptr failure;
        bool hasEnded = false;
        asio::co_spawn(main(), std::move(task), [&](std::exception_ptr error) {
            failure = std::move(error);
            hasEnded = true;
        });
        while (!hasEnded) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return failure;
    }

    static bool isMainThread() { return QThread::currentThread() == QCoreApplication::instance()->thread(); }

    QtMainContext context_;
};

int answerOnPool(bool fails) {
    EXPECT_NE(QThread::currentThread(), QCoreApplication::instance()->thread());
    if (fails) {
        throw std::runtime_error("The pool failed.");
    }
    return 42;
}

TEST_F(QtMainExecutorTest, PoolsTimersAndExceptionsComeBackToTheMainThread) {
    asio::thread_pool pool(2);
    const auto story = [&]() -> Task<void> {
        EXPECT_TRUE(isMainThread());
        const std::function<int()> succeed = [] { return answerOnPool(false); };
        const int answer = co_await runOn(pool.get_executor(), succeed);
        EXPECT_EQ(answer, 42);
        EXPECT_TRUE(isMainThread());
        asio::steady_timer onPool(pool, std::chrono::milliseconds(1));
        co_await onPool.async_wait(asio::use_awaitable);
        EXPECT_TRUE(isMainThread());
        asio::steady_timer onMain(main(), std::chrono::milliseconds(1));
        co_await onMain.async_wait(asio::use_awaitable);
        EXPECT_TRUE(isMainThread());
        std::string failure;
        try {
            const std::function<int()> fail = [] { return answerOnPool(true); };
            co_await runOn(pool.get_executor(), fail);
        } catch (const std::runtime_error& error) {
            failure = error.what();
        }
        EXPECT_EQ(failure, "The pool failed.");
        EXPECT_TRUE(isMainThread());
        throw std::logic_error("The story failed.");
    };
    EXPECT_THROW(std::rethrow_exception(run(story())), std::logic_error);
}

TEST_F(QtMainExecutorTest, KeepsTheOrderOfEachThreadAndLosesNothing) {
    constexpr int posts = 2000;
    std::vector<int> received[2];
    const auto postAll = [&](int thread) {
        for (int number = 0; number < posts; ++number) {
            asio::post(main(), [&received, thread, number] { received[thread].push_back(number); });
        }
    };
    std::thread first(postAll, 0);
    std::thread second(postAll, 1);
    while (received[0].size() + received[1].size() < 2UL * posts) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    first.join();
    second.join();
    for (const std::vector<int>& numbers : received) {
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
        EXPECT_EQ(numbers.size(), static_cast<std::size_t>(posts));
    }
}

TEST_F(QtMainExecutorTest, DispatchRunsAtOnceOnlyInsideAHandler) {
    int step = 0;
    asio::dispatch(main(), [&] { step = 1; });
    EXPECT_EQ(step, 0);
    const auto nested = [&]() -> Task<void> {
        EXPECT_EQ(step, 1);
        asio::dispatch(main(), [&] { step = 2; });
        EXPECT_EQ(step, 2);
        asio::post(main(), [&] { step = 3; });
        EXPECT_EQ(step, 2);
        co_return;
    };
    EXPECT_EQ(run(nested()), nullptr);
}

TEST(QtMainExecutorShutdown, UnwindsWhatHasNotRunWhileItsPoolStillLives) {
    const auto witness = std::make_shared<int>(0);
    bool hasRun = false;
    QtMainContext context;
    const Executor main = QtMainExecutor(context);
    {
        asio::thread_pool pool(1);
        const auto waitsForever = [](std::shared_ptr<int> kept, asio::thread_pool& timers) -> Task<void> {
            asio::steady_timer timer(timers, asio::steady_timer::time_point::max());
            co_await timer.async_wait(asio::use_awaitable);
            *kept = 1;
        };
        // One coroutine hangs on the pool's timer, one has not begun, and one handler posts again as it is destroyed.
        asio::co_spawn(main, waitsForever(witness, pool), asio::detached);
        QCoreApplication::processEvents();
        asio::co_spawn(main, waitsForever(witness, pool), asio::detached);
        auto postsAgain = std::shared_ptr<void>(
            nullptr, [main, witness, &hasRun](void*) { asio::post(main, [witness, &hasRun] { hasRun = true; }); });
        asio::post(main, [postsAgain = std::move(postsAgain), witness] { *witness = 2; });
        pool.stop();
        pool.join();
        context.close();
    }
    QCoreApplication::processEvents();
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(*witness, 0);
    EXPECT_EQ(witness.use_count(), 1);
}

} // namespace
} // namespace talkledger
