#pragma once

#include "TalkledgerCore/Support/Task.h"
#include "TalkledgerWorkers/Protocol/FrameSocket.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"
#include "TalkledgerWorkers/Transcriber/EngineShelf.h"
#include "TalkledgerWorkers/Transcriber/FileTranscription.h"
#include "TalkledgerWorkers/Transcriber/LiveTranscription.h"

#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stop_token>

namespace talkledger {

/// Serves the program over the socket. Messages are read, answered and written on the socket's executor, which nothing
/// slow ever occupies. Up to two files at once (a recording has two tracks) are worked on by threads of their own,
/// further ones wait; live streams take turns on threads of theirs, so that neither kind holds up the other. For source
/// files only, since its includes are heavy.
class Transcriber {
public:
    struct Settings {
        std::size_t threads{2};                                             ///< for files
        std::size_t streamThreads{2};                                       ///< for live streams
        std::chrono::milliseconds engineIdleTime{std::chrono::seconds(60)}; ///< then its memory is given back
    };

    /// Throws `SpeechEngineError` for a model that does not work.
    using ModelCheck = std::function<void(const std::filesystem::path& model)>;

    Transcriber(FrameSocket::Socket socket, SpeechEngineFactory engines, ModelCheck checkModel,
                const Settings& settings);

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
    void handle(const StartStream& message);
    void handle(const StreamAudio& message);
    void handle(const FinishStream& message);
    void handle(const CancelRequest& message);
    void handle(const CheckModel& message);
    void send(const MessageFromTranscriber& message);
    void report(std::int64_t request, const MessageFromTranscriber& message);

    /// Its steps run one after the other.
    struct Stream {
        LiveTranscription transcription;
        boost::asio::strand<boost::asio::thread_pool::executor_type> steps;
        std::size_t unconsumed{0}; ///< samples
    };

    struct Request {
        std::stop_source stop;
        std::shared_ptr<Stream> stream; ///< null for a file
    };

    Request& add(std::int64_t request);
    std::shared_ptr<Stream> stream(std::int64_t request) const;
    TranscriberMessageHandler reportOf(std::int64_t request);
    void noteConsumed(const StreamConsumed& message);

    Settings settings_;
    Executor executor_;
    FrameSocket socket_;
    EngineShelf engines_;
    ModelCheck checkModel_;
    boost::asio::thread_pool threads_; ///< these two are joined before anything of the rest goes
    boost::asio::thread_pool streamThreads_;
    std::map<std::int64_t, Request> requests_; ///< last: the streams' strands go before their pool
};

} // namespace talkledger
