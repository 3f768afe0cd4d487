#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerWorkers/Protocol/FrameSocket.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"
#include "TalkledgerWorkers/Transcriber/EngineShelf.h"

#include <boost/asio/thread_pool.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <stop_token>

namespace talkledger {

/// Serves the program over the socket. Messages are read, answered and written on the socket's executor, which nothing
/// slow ever occupies; up to two requests at once (a recording has two tracks) are worked on by threads of their own,
/// further ones wait. For source files only, since its includes are heavy.
class Transcriber {
public:
    struct Settings {
        std::size_t threads{2};
        std::chrono::milliseconds engineIdleTime{std::chrono::seconds(60)}; ///< then its memory is given back
    };

    Transcriber(FrameSocket::Socket socket, SpeechEngineFactory engines, const Settings& settings);

    /// Stops the requests under way and waits for their threads.
    ~Transcriber();
    Transcriber(const Transcriber&) = delete;
    Transcriber& operator=(const Transcriber&) = delete;

    /// Runs until the program closes its end or breaks the rules of the protocol.
    Task<void> run();

private:
    Task<void> readMessages();
    Task<void> discardIdleEngines();
    void handle(const Ping& message);
    void handle(const TranscribeFile& message);
    void handle(const CancelRequest& message);
    void send(const MessageFromTranscriber& message);
    void report(std::int64_t request, const MessageFromTranscriber& message);

    Settings settings_;
    Executor executor_;
    FrameSocket socket_;
    EngineShelf engines_;
    std::map<std::int64_t, std::stop_source> requests_;
    boost::asio::thread_pool threads_; ///< last: joined before what its threads use goes
};

} // namespace talkledger
