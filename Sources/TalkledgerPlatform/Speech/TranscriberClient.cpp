#include "TalkledgerPlatform/Speech/TranscriberClient.h"

#include "TalkledgerPlatform/Speech/Transcription.h"
#include "TalkledgerPlatform/Speech/WorkerLink.h"
#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <variant>

namespace talkledger {

namespace asio = boost::asio;

namespace {

using Requests = std::map<std::int64_t, std::shared_ptr<Transcription>>;

/// What a transcription is told, message by message.
class Delivery {
public:
    explicit Delivery(Requests& requests) : requests_(requests) {}

    void operator()(const Hello&) { throw ProtocolError("The worker introduced itself twice."); }

    void operator()(const Pong&) {}

    void operator()(const TranscriptionStarted& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellStarted();
        }
    }

    void operator()(const TranscriptionResult& message) { tell(message); }

    void operator()(const TranscriptionProgress& message) { tell(message); }

    void operator()(const TranscriptionFinished& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellFinished();
        }
        requests_.erase(message.request);
    }

    void operator()(const TranscriptionFailed& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tellFailed(WorkerError::failed(message.description));
        }
        requests_.erase(message.request);
    }

private:
    /// Absent for a request that has been cancelled.
    std::shared_ptr<Transcription> find(std::int64_t request) const {
        const auto found = requests_.find(request);
        return found == requests_.end() ? nullptr : found->second;
    }

    template <typename Message>
    void tell(const Message& message) {
        if (const auto transcription = find(message.request)) {
            transcription->tell(message);
        }
    }

    Requests& requests_;
};

} // namespace

/// Everything but the constructor and the destructor runs on the thread.
class TranscriberClient::Service {
public:
    explicit Service(WorkerSettings settings)
        : settings_(std::move(settings)), work_(context_->get_executor()), thread_([this] { context_->run(); }) {}

    ~Service() {
        asio::post(*context_, [this] { close(); });
        thread_.join();
    }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    const std::shared_ptr<asio::io_context>& context() const { return context_; }

    void start(const std::shared_ptr<Transcription>& transcription, TranscribeFile file) {
        if (transcription->isCancelled()) {
            return;
        }
        try {
            if (!worker_ || !worker_->link->isOpen()) {
                startWorker();
            }
            file.request = ++lastRequest_;
            worker_->link->send(encodeMessage(file));
            worker_->requests.emplace(file.request, transcription);
        } catch (const WorkerError& error) {
            transcription->tellFailed(error);
        } catch (const std::exception& error) {
            transcription->tellFailed(WorkerError::failed(error.what()));
        }
    }

    void cancel(const std::shared_ptr<Transcription>& transcription) {
        if (!worker_) {
            return;
        }
        Requests& requests = worker_->requests;
        const auto request = std::find_if(requests.begin(), requests.end(),
                                          [&](const auto& entry) { return entry.second == transcription; });
        if (request != requests.end()) {
            worker_->link->send(encodeMessage(CancelRequest{request->first}));
            requests.erase(request);
        }
    }

private:
    struct Worker {
        std::shared_ptr<WorkerLink> link;
        Requests requests;
        bool isIntroduced{false};
    };

    void startWorker() {
        const auto worker = std::make_shared<Worker>();
        const std::weak_ptr<Worker> weak = worker;
        WorkerLink::Handlers handlers{
            .received = [this, weak](Frame frame) { receive(*weak.lock(), std::move(frame)); },
            .isIdle = [weak] { return weak.lock()->requests.empty(); },
            .ended = [this, weak](const WorkerError& error) { end(weak.lock(), error); },
        };
        worker->link = std::make_shared<WorkerLink>(*context_, settings_, std::move(handlers));
        workers_.insert(worker);
        worker_ = worker;
        asio::co_spawn(*context_, worker->link->run(), [this, worker](const std::exception_ptr&) { forget(worker); });
    }

    void receive(Worker& worker, Frame frame) {
        const auto message = decodeMessage<MessageFromTranscriber>(std::move(frame));
        if (std::exchange(worker.isIntroduced, true)) {
            std::visit(Delivery(worker.requests), message);
            return;
        }
        const Hello* hello = std::get_if<Hello>(&message);
        if (hello == nullptr || hello->version != Hello::currentVersion) {
            throw WorkerError::cannotStart(settings_.program, "It belongs to another version of Talkledger");
        }
    }

    void end(const std::shared_ptr<Worker>& worker, const WorkerError& error) {
        if (worker_ == worker) {
            worker_.reset();
        }
        for (const auto& [number, transcription] : std::exchange(worker->requests, {})) {
            transcription->tellFailed(isClosed_ ? WorkerError::closed() : error);
        }
    }

    /// The worker has ended and been waited for.
    void forget(const std::shared_ptr<Worker>& worker) {
        workers_.erase(worker);
        stopWhenClosed();
    }

    void close() {
        isClosed_ = true;
        for (const auto& worker : workers_) {
            worker->link->close();
        }
        stopWhenClosed();
    }

    void stopWhenClosed() {
        if (isClosed_ && workers_.empty()) {
            context_->stop();
        }
    }

    WorkerSettings settings_;
    /// Shared with the transcriptions, whose channels live in it.
    std::shared_ptr<asio::io_context> context_{std::make_shared<asio::io_context>(1)};
    std::shared_ptr<Worker> worker_;            ///< the one that takes requests
    std::set<std::shared_ptr<Worker>> workers_; ///< with those that have not quite ended yet
    std::int64_t lastRequest_{0};
    bool isClosed_{false};
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_; ///< last: it uses the rest
};

TranscriberClient::TranscriberClient(WorkerSettings settings)
    : service_(std::make_unique<Service>(std::move(settings))) {}

TranscriberClient::~TranscriberClient() = default;

std::shared_ptr<Transcription> TranscriberClient::makeTranscription() {
    return std::make_shared<Transcription>(service_->context());
}

void TranscriberClient::start(const std::shared_ptr<Transcription>& transcription, TranscribeFile file) {
    asio::post(*service_->context(), [service = service_.get(), transcription, file = std::move(file)] {
        service->start(transcription, file);
    });
}

void TranscriberClient::cancel(const std::shared_ptr<Transcription>& transcription) noexcept {
    transcription->cancel();
    asio::post(*service_->context(), [service = service_.get(), transcription] { service->cancel(transcription); });
}

} // namespace talkledger
