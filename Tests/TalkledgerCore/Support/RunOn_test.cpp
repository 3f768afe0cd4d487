#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace talkledger {
namespace {

using testing::RunningTask;
using testing::runTask;

class RunOnTest : public ::testing::Test {
protected:
    boost::asio::io_context context_;
    boost::asio::thread_pool pool_{2};
};

TEST_F(RunOnTest, BringsValuesAndFailuresBackToTheCaller) {
    std::thread::id ranOn;
    const auto story = [&]() -> Task<std::string> {
        const std::function<std::string()> name = [&] {
            ranOn = std::this_thread::get_id();
            return std::string("a value that is long enough for memory of its own");
        };
        const std::string value = co_await runOn(pool_.get_executor(), name);
        EXPECT_NE(ranOn, std::this_thread::get_id());
        const std::function<void()> fail = [&] { throw std::runtime_error("It failed after " + value); };
        std::string failure;
        try {
            co_await runOn(pool_.get_executor(), fail);
        } catch (const std::runtime_error& error) {
            failure = error.what();
        }
        co_return failure;
    };
    const std::thread::id caller = std::this_thread::get_id();
    EXPECT_EQ(runTask(context_, story()), "It failed after a value that is long enough for memory of its own");
    EXPECT_NE(ranOn, caller);
}

TEST_F(RunOnTest, LetsGoOfTheFunctionWhereItRan) {
    std::thread::id releasedOn;
    const int value = 1;
    std::shared_ptr<const int> resource(&value, [&](const int*) { releasedOn = std::this_thread::get_id(); });
    std::function<int()> read = [resource = std::move(resource)] { return *resource; };
    EXPECT_EQ(runTask(context_, runOn(Executor(pool_.get_executor()), std::move(read))), 1);
    EXPECT_NE(releasedOn, std::thread::id());
    EXPECT_NE(releasedOn, std::this_thread::get_id());
}

/// A function cannot be interrupted: the cancellation reaches the caller when it goes on.
TEST_F(RunOnTest, OutlivesACancellationWhileTheFunctionRuns) {
    for (int round = 0; round < 50; ++round) {
        std::promise<void> begun;
        std::promise<void> mayEnd;
        std::function<int()> block = [&] {
            begun.set_value();
            mayEnd.get_future().wait();
            return 42;
        };
        RunningTask<int> task(context_, runOn(Executor(pool_.get_executor()), std::move(block)));
        begun.get_future().wait();
        task.cancel();
        EXPECT_FALSE(task.hasEnded());
        mayEnd.set_value();
        context_.restart();
        context_.run();
        EXPECT_EQ(task.result(), 42);
    }
}

} // namespace
} // namespace talkledger
