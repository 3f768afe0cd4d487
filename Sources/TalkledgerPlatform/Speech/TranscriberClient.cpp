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

/// The audio that goes to a stream.
struct Feeding {
    std::shared_ptr<StreamFeed> feed;
    TaskHandle task;
};

/// A running worker and what it works on.
struct Worker {
    std::shared_ptr<WorkerLink> link;
    Requests requests;
    bool isForOneRequest{false};
    std::map<std::int64_t, Feeding> feedings; ///< of its streams, once there is audio

    void forget(std::int64_t request) {
        requests.erase(request);
        if (const auto ended = feedings.extract(request)) {
            talkledger::cancel(ended.mapped().task);
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
        if (const auto feeding = worker_.feedings.find(message.request); feeding != worker_.feedings.end()) {
            feeding->second.feed->noteConsumed(message.samples);
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
        attempt(transcription, [&] {
            // Streams share a large model; the small one is loaded for each anyway, and then nothing else ends with it.
            const std::shared_ptr<Worker> worker = stream.engine.model.empty() ? workerForOneRequest() : sharedWorker();
            request(*worker, transcription, std::move(stream));
        });
    }

    void check(const std::shared_ptr<Transcription>& transcription, CheckModel model) {
        attempt(transcription, [&] { request(*workerForOneRequest(), transcription, std::move(model)); });
    }

    void feed(const std::shared_ptr<Transcription>& transcription, std::shared_ptr<AnalyzerInputSequence> inputs) {
        const std::shared_ptr<Worker> worker = workerOf(transcription);
        const std::int64_t number = worker ? numberOf(*worker, transcription) : 0;
        if (!worker || worker->feedings.contains(number)) {
            return;
        }
        const auto feed = std::make_shared<StreamFeed>(
            context()->get_executor(), number,
            [link = worker->link](std::vector<std::byte> message) { link->send(std::move(message)); });
        worker->feedings[number] = {
            feed, startTask(context()->get_executor(), carry(worker, number, feed, std::move(inputs)))};
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
    template <typename Start>
    static void attempt(const std::shared_ptr<Transcription>& transcription, Start start) {
        if (transcription->isCancelled()) {
            return;
        }
        try {
            start();
        } catch (const WorkerError& error) {
            transcription->tellFailed(error);
        } catch (const std::exception& error) {
            transcription->tellFailed(WorkerError::failed(error.what()));
        }
    }

    template <typename Message>
    void request(Worker& worker, const std::shared_ptr<Transcription>& transcription, Message message) {
        message.request = ++lastRequest_;
        worker.link->send(encodeMessage(message));
        worker.requests.emplace(message.request, transcription);
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
    Task<> carry(std::shared_ptr<Worker> worker, std::int64_t number, std::shared_ptr<StreamFeed> feed,
                 std::shared_ptr<AnalyzerInputSequence> inputs) {
        std::optional<WorkerError> failure;
        try {
            co_await feed->run(std::move(inputs));
        } catch (const std::exception& error) {
            failure = WorkerError::failed(error.what());
        }
        const auto request = worker->requests.find(number);
        if (failure && request != worker->requests.end()) {
            const std::shared_ptr<Transcription> transcription = request->second;
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
        for (const auto& [number, transcription] : std::exchange(worker->requests, {})) {
            transcription->tellFailed(error);
        }
        for (const auto& [number, feeding] : std::exchange(worker->feedings, {})) {
            talkledger::cancel(feeding.task);
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
