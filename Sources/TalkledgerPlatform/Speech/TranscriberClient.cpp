#include "TalkledgerPlatform/Speech/TranscriberClient.h"

#include "TalkledgerCore/Support/TaskHandle.h"
#include "TalkledgerPlatform/Speech/StreamFeed.h"
#include "TalkledgerPlatform/Speech/Transcription.h"
#include "TalkledgerPlatform/Worker/WorkerGroup.h"
#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <variant>
#include <vector>

namespace talkledger {

namespace asio = boost::asio;

namespace {

using Requests = std::map<std::int64_t, std::shared_ptr<Transcription>>;

/// Of a stream, so many workers may die before it counts as what kills them.
constexpr int mostRestarts = 3;

/// A live stream, which goes on with another worker when its own dies.
struct Stream {
    StartStream start{};
    std::shared_ptr<StreamFeed> feed{}; ///< once there is audio
    TaskHandle feeding{};
    int restarts{0};

    bool canGoOn() const { return feed && !feed->hasFinished() && restarts < mostRestarts; }
};

/// A running worker and what it works on.
struct Worker {
    std::shared_ptr<WorkerLink> link;
    Requests requests;
    bool isForOneRequest{false};
    std::map<std::int64_t, Stream> streams; ///< of its requests, those that are live

    void forget(std::int64_t request) {
        requests.erase(request);
        if (const auto ended = streams.extract(request)) {
            talkledger::cancel(ended.mapped().feeding);
        }
    }
};

/// What a transcription is told, message by message.
class Delivery {
public:
    explicit Delivery(Worker& worker) : worker_(worker) {}

    void operator()(const Hello&) { throw ProtocolError("The worker introduced itself twice."); }

    void operator()(const Pong&) {}

    void operator()(const TranscriptionStarted& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellStarted();
        }
    }

    void operator()(const TranscriptionResult& message) { tell(message); }

    void operator()(const TranscriptionProgress& message) { tell(message); }

    void operator()(const StreamConsumed& message) {
        const auto stream = worker_.streams.find(message.request);
        if (stream != worker_.streams.end() && stream->second.feed) {
            stream->second.feed->noteConsumed(message.samples);
        }
    }

    void operator()(const TranscriptionFinished& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellFinished();
        }
        worker_.forget(message.request);
    }

    void operator()(const RequestFailed& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellFailed(WorkerError::failed(message));
        }
        worker_.forget(message.request);
    }

private:
    /// Absent for a request that has been cancelled.
    std::shared_ptr<Transcription> find(std::int64_t request) const {
        const auto found = worker_.requests.find(request);
        return found == worker_.requests.end() ? nullptr : found->second;
    }

    template <typename Message>
    void tell(const Message& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tell(message);
        }
    }

    Worker& worker_;
};

} // namespace

/// Everything but the constructor and the destructor runs on the thread.
class TranscriberClient::Service {
public:
    explicit Service(WorkerSettings settings) : group_(std::move(settings)) {}

    const std::shared_ptr<asio::io_context>& context() const { return group_.context(); }

    void start(const std::shared_ptr<Transcription>& transcription, TranscribeFile file) {
        attempt(transcription, [&] { request(*sharedWorker(), transcription, std::move(file)); });
    }

    void startStream(const std::shared_ptr<Transcription>& transcription, StartStream stream) {
        attempt(transcription, [&] { requestStream(transcription, {.start = std::move(stream)}); });
    }

    void check(const std::shared_ptr<Transcription>& transcription, CheckModel model) {
        attempt(transcription, [&] { request(*workerForOneRequest(), transcription, std::move(model)); });
    }

    void feed(const std::shared_ptr<Transcription>& transcription, std::shared_ptr<AnalyzerInputSequence> inputs) {
        const std::shared_ptr<Worker> worker = workerOf(transcription);
        const std::int64_t number = worker ? numberOf(*worker, transcription) : 0;
        if (!worker || worker->streams.at(number).feed) {
            return;
        }
        Stream& stream = worker->streams.at(number);
        stream.feed = std::make_shared<StreamFeed>(context()->get_executor(), number, senderTo(*worker));
        stream.feeding = startTask(context()->get_executor(), carry(transcription, stream.feed, std::move(inputs)));
    }

    void cancel(const std::shared_ptr<Transcription>& transcription) {
        const std::shared_ptr<Worker> worker = workerOf(transcription);
        if (!worker) {
            return;
        }
        const std::int64_t number = numberOf(*worker, transcription);
        worker->forget(number);
        if (worker->isForOneRequest) {
            worker->link->close();
        } else {
            worker->link->send(encodeMessage(CancelRequest{number}));
        }
    }

private:
    /// Whether it could be started.
    template <typename Start>
    static bool attempt(const std::shared_ptr<Transcription>& transcription, Start start) {
        if (transcription->isCancelled()) {
            return false;
        }
        try {
            start();
            return true;
        } catch (const WorkerError& error) {
            transcription->tellFailed(error);
        } catch (const std::exception& error) {
            transcription->tellFailed(WorkerError::failed(error.what()));
        }
        return false;
    }

    template <typename Message>
    std::int64_t request(Worker& worker, const std::shared_ptr<Transcription>& transcription, Message message) {
        message.request = ++lastRequest_;
        worker.link->send(encodeMessage(message));
        worker.requests.emplace(message.request, transcription);
        return message.request;
    }

    void requestStream(const std::shared_ptr<Transcription>& transcription, Stream stream) {
        // Streams share a large model; the small one is loaded for each anyway, and then nothing else ends with it.
        const bool isShared = !stream.start.engine.model.empty();
        const std::shared_ptr<Worker> worker = isShared ? sharedWorker() : workerForOneRequest();
        const std::int64_t number = request(*worker, transcription, stream.start);
        if (stream.feed) {
            stream.feed->goOn(number, senderTo(*worker));
        }
        worker->streams.emplace(number, std::move(stream));
    }

    static StreamFeed::Send senderTo(const Worker& worker) {
        return [link = worker.link](std::vector<std::byte> message) { link->send(std::move(message)); };
    }

    /// Null for a transcription that has ended.
    std::shared_ptr<Worker> workerOf(const std::shared_ptr<Transcription>& transcription) const {
        const auto found = std::find_if(workers_.begin(), workers_.end(),
                                        [&](const auto& worker) { return numberOf(*worker, transcription) != 0; });
        return found == workers_.end() ? nullptr : *found;
    }

    /// 0 when the worker does not work on it.
    static std::int64_t numberOf(const Worker& worker, const std::shared_ptr<Transcription>& transcription) {
        const auto request = std::find_if(worker.requests.begin(), worker.requests.end(),
                                          [&](const auto& entry) { return entry.second == transcription; });
        return request == worker.requests.end() ? 0 : request->first;
    }

    /// The one that takes files, and streams with a model.
    std::shared_ptr<Worker> sharedWorker() {
        if (!sharedWorker_ || !sharedWorker_->link->isOpen()) {
            sharedWorker_ = startWorker();
        }
        return sharedWorker_;
    }

    std::shared_ptr<Worker> workerForOneRequest() {
        std::shared_ptr<Worker> worker = startWorker();
        worker->isForOneRequest = true;
        return worker;
    }

    std::shared_ptr<Worker> startWorker() {
        auto worker = std::make_shared<Worker>();
        WorkerLink::Handlers handlers{
            .received = [worker](Frame frame) { receive(*worker, std::move(frame)); },
            .isIdle = [worker] { return worker->requests.empty(); },
            .ended = [this, worker](const WorkerError& error) { end(worker, error); },
        };
        worker->link = group_.start(std::move(handlers));
        workers_.insert(worker);
        return worker;
    }

    /// Audio that cannot be carried ends the stream.
    Task<> carry(std::shared_ptr<Transcription> transcription, std::shared_ptr<StreamFeed> feed,
                 std::shared_ptr<AnalyzerInputSequence> inputs) {
        std::optional<WorkerError> failure;
        try {
            co_await feed->run(std::move(inputs));
        } catch (const std::exception& error) {
            failure = WorkerError::failed(error.what());
        }
        if (failure && workerOf(transcription)) {
            transcription->tellFailed(*failure);
            cancel(transcription);
        }
    }

    static void receive(Worker& worker, Frame frame) {
        std::visit(Delivery(worker), decodeMessage<MessageFromTranscriber>(std::move(frame)));
        if (worker.isForOneRequest && worker.requests.empty()) {
            worker.link->close();
        }
    }

    void end(const std::shared_ptr<Worker>& worker, const WorkerError& error) {
        if (sharedWorker_ == worker) {
            sharedWorker_.reset();
        }
        workers_.erase(worker);
        const bool isClosed = error.failure() == WorkerError::Case::closed;
        auto streams = std::exchange(worker->streams, {});
        for (const auto& [number, transcription] : std::exchange(worker->requests, {})) {
            const Stream stream = streams[number];
            if (stream.canGoOn() && !isClosed) {
                goOn(transcription, stream);
            } else {
                transcription->tellFailed(error);
                talkledger::cancel(stream.feeding);
            }
        }
    }

    /// What was being said is lost; what comes is heard by another worker.
    void goOn(const std::shared_ptr<Transcription>& transcription, Stream stream) {
        const TaskHandle feeding = stream.feeding;
        ++stream.restarts;
        if (!attempt(transcription, [&] { requestStream(transcription, std::move(stream)); })) {
            talkledger::cancel(feeding);
        }
    }

    std::shared_ptr<Worker> sharedWorker_;
    std::set<std::shared_ptr<Worker>> workers_; ///< with those for one request
    std::int64_t lastRequest_{0};
    WorkerGroup group_; ///< last: its thread uses the rest
};

TranscriberClient::TranscriberClient(WorkerSettings settings) {
    settings.name = speechRecogniserName;
    service_ = std::make_unique<Service>(std::move(settings));
}

TranscriberClient::~TranscriberClient() = default;

std::shared_ptr<Transcription> TranscriberClient::makeTranscription() {
    return std::make_shared<Transcription>(service_->context());
}

void TranscriberClient::start(const std::shared_ptr<Transcription>& transcription, TranscribeFile file) {
    asio::post(*service_->context(), [service = service_.get(), transcription, file = std::move(file)] {
        service->start(transcription, file);
    });
}

void TranscriberClient::startStream(const std::shared_ptr<Transcription>& transcription, StartStream stream) {
    asio::post(*service_->context(), [service = service_.get(), transcription, stream = std::move(stream)] {
        service->startStream(transcription, stream);
    });
}

void TranscriberClient::check(const std::shared_ptr<Transcription>& transcription, CheckModel model) {
    asio::post(*service_->context(), [service = service_.get(), transcription, model = std::move(model)] {
        service->check(transcription, model);
    });
}

void TranscriberClient::feed(const std::shared_ptr<Transcription>& transcription,
                             std::shared_ptr<AnalyzerInputSequence> inputs) {
    asio::post(*service_->context(), [service = service_.get(), transcription, inputs = std::move(inputs)] {
        service->feed(transcription, inputs);
    });
}

void TranscriberClient::cancel(const std::shared_ptr<Transcription>& transcription) noexcept {
    transcription->cancel();
    asio::post(*service_->context(), [service = service_.get(), transcription] { service->cancel(transcription); });
}

} // namespace talkledger
