#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerWorkers/Protocol/FrameSocket.h"
#include "TalkledgerWorkers/Protocol/SummarizerMessages.h"
#include "TalkledgerWorkers/Summarizer/LanguageEngine.h"

#include <boost/asio/thread_pool.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <stop_token>

namespace talkledger {

/// Serves the program over the socket. Messages are read, answered and written on the socket's executor, which nothing
/// slow ever occupies; questions are worked on by one thread, in turn. For source files only, since its includes are
/// heavy.
class Summarizer {
public:
    struct Settings {
        int engineThreads{1};
        std::chrono::milliseconds idleTime{std::chrono::seconds(60)}; ///< then a model's memory is given back
    };

    Summarizer(FrameSocket::Socket socket, const Settings& settings);

    /// Stops the requests under way and waits for the thread.
    ~Summarizer();
    Summarizer(const Summarizer&) = delete;
    Summarizer& operator=(const Summarizer&) = delete;

    /// Runs until the program closes its end or breaks the rules of the protocol.
    Task<void> run();

private:
    using Work = std::function<ModelAnswer(const std::stop_token&)>;

    Task<void> readMessages();
    Task<void> unloadWhenIdle();
    void handle(const Ping& message);
    void handle(const AskModel& message);
    void handle(const CheckLanguageModel& message);
    void handle(const HoldModel& message);
    void handle(const ReleaseModel& message);
    void handle(const CancelRequest& message);
    void serve(std::int64_t request, Work work);
    void end(std::int64_t request, const MessageFromSummarizer& message);
    void send(const MessageFromSummarizer& message);

    Settings settings_;
    Executor executor_;
    FrameSocket socket_;
    LanguageEngine engine_; ///< the thread's own
    std::map<std::int64_t, std::stop_source> requests_;
    std::stop_source loading_; ///< of a model that is held
    bool isHeld_{false};
    std::chrono::steady_clock::time_point lastUse_;
    boost::asio::thread_pool thread_{1}; ///< last: it is joined before anything of the rest goes
};

} // namespace talkledger
