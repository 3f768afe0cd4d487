#include "Support/RunTask.h"
#include "Support/RunningTask.h"
#include "TalkledgerCore/Transcription/AnalyzerInputStream.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace talkledger {
namespace {

constexpr std::size_t capacity = AnalyzerInputStream::capacity;

class AnalyzerInputStreamTest : public ::testing::Test {
protected:
    void yield(std::size_t number) {
        stream.yield({.buffer = nullptr, .bufferStartTime = static_cast<double>(number)});
    }

    Task<std::vector<double>> readAll() {
        std::vector<double> times;
        std::optional<AnalyzerInput> input = co_await stream.next();
        while (input.has_value()) {
            times.push_back(input->bufferStartTime);
            input = co_await stream.next();
        }
        co_return times;
    }

    boost::asio::io_context context;
    AnalyzerInputStream stream;
};

TEST_F(AnalyzerInputStreamTest, KeepsTheNewestInOrderUntilTheEnd) {
    for (std::size_t number = 0; number < capacity + 3; ++number) {
        yield(number);
    }
    stream.finish();
    yield(1000); // too late
    const std::vector<double> times = testing::runTask(context, readAll());
    ASSERT_EQ(times.size(), 240U);
    EXPECT_EQ(times.front(), 3);
    EXPECT_EQ(times.back(), capacity + 2);
    EXPECT_TRUE(testing::runTask(context, readAll()).empty()) << "the end lasts";
}

TEST_F(AnalyzerInputStreamTest, ARoomThatWasMadeIsUsedAgain) {
    for (std::size_t number = 0; number < capacity; ++number) {
        yield(number);
    }
    EXPECT_EQ(testing::runTask(context, stream.next())->bufferStartTime, 0);
    yield(capacity);
    stream.finish();
    EXPECT_EQ(testing::runTask(context, readAll()).size(), capacity) << "nothing was dropped";
}

TEST_F(AnalyzerInputStreamTest, AReaderThatWasCancelledMissesNothing) {
    testing::RunningTask<std::optional<AnalyzerInput>> reader(context, stream.next());
    EXPECT_FALSE(reader.hasEnded());
    reader.cancel();
    EXPECT_THROW(reader.result(), boost::system::system_error);
    yield(7);
    EXPECT_EQ(testing::runTask(context, stream.next())->bufferStartTime, 7);
}

TEST_F(AnalyzerInputStreamTest, CarriesWhatAnotherThreadPutsIn) {
    constexpr std::size_t count = 20000;
    std::thread capture([this] {
        for (std::size_t number = 0; number < count; ++number) {
            yield(number);
        }
        stream.finish();
    });
    auto keepRunning = boost::asio::make_work_guard(context);
    const std::vector<double> times = testing::runTask(context, readAll());
    capture.join();
    ASSERT_FALSE(times.empty());
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(times.back(), count - 1);
}

} // namespace
} // namespace talkledger
