// The shapes of coroutine code that some compilers get wrong: they destroy the temporaries of a full expression twice.
// Built with optimisation in every preset.
#include "Support/RunTask.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

/// Counts how many of its kind there are.
class Counted {
public:
    explicit Counted(int& alive) : alive_(&alive) { ++*alive_; }

    Counted(const Counted& other) : alive_(other.alive_), text_(other.text_) { ++*alive_; }

    Counted(Counted&& other) noexcept : alive_(other.alive_), text_(std::move(other.text_)) { ++*alive_; }

    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;

    ~Counted() { --*alive_; }

    const std::string& text() const { return text_; }

private:
    int* alive_;
    std::string text_{"long enough to be kept outside the string object"};
};

struct Aggregate {
    Counted counted;
    std::string name;
};

Task<std::string> resumeLater(std::string text) {
    co_await boost::asio::post(boost::asio::use_awaitable);
    co_return text;
}

Task<std::string> call(std::function<std::string()> function) {
    co_await boost::asio::post(boost::asio::use_awaitable);
    co_return function();
}

template <typename Function>
Task<std::string> callTemplate(Function function) {
    co_await boost::asio::post(boost::asio::use_awaitable);
    co_return function();
}

Task<std::string> nameOf(Aggregate aggregate) {
    co_await boost::asio::post(boost::asio::use_awaitable);
    co_return aggregate.name + aggregate.counted.text();
}

Task<Aggregate> makeAggregate(int& alive) {
    co_return Aggregate{.counted = Counted(alive), .name = co_await resumeLater("name")};
}

Task<std::string> chosen(bool isWanted) {
    const std::string text = isWanted ? co_await resumeLater("wanted") : std::string("unwanted");
    co_return text;
}

Task<std::string> throughException(int& alive) {
    const Counted guard(alive);
    std::string text;
    try {
        text = co_await callTemplate([guard]() -> std::string { throw std::runtime_error(guard.text()); });
    } catch (const std::runtime_error& error) {
        text = error.what();
    }
    co_return text;
}

TEST(CoroutinePatterns, TemporariesOfAnAwaitingExpressionAreDestroyedOnce) {
    int alive = 0;
    const auto tryAll = [](int& count) -> Task<std::vector<std::string>> {
        const Counted captured(count);
        std::vector<std::string> texts;
        texts.push_back(co_await call([captured] { return captured.text(); }));
        texts.push_back(co_await callTemplate([captured] { return captured.text(); }));
        texts.push_back(co_await nameOf(Aggregate{.counted = Counted(count), .name = "aggregate "}));
        const Aggregate made = co_await makeAggregate(count);
        texts.push_back(made.name);
        texts.push_back(co_await chosen(true) + co_await chosen(false));
        texts.push_back(co_await throughException(count));
        co_return texts;
    };

    const std::string kept = "long enough to be kept outside the string object";
    EXPECT_EQ(testing::runTask(tryAll(alive)),
              (std::vector<std::string>{kept, kept, "aggregate " + kept, "name", "wantedunwanted", kept}));
    EXPECT_EQ(alive, 0);
}

} // namespace
} // namespace talkledger
