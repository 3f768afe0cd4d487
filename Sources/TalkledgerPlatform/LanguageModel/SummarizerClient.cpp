#include "TalkledgerPlatform/LanguageModel/SummarizerClient.h"

#include "TalkledgerPlatform/LanguageModel/PendingAnswer.h"
#include "TalkledgerPlatform/Worker/WorkerLink.h"
#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>

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

using Pending = std::shared_ptr<PendingAnswer>;

/// A running worker and what it works on.
struct Worker {
    std::shared_ptr<WorkerLink> link;
    std::map<std::int64_t, Pending> requests;
    bool isIntroduced{false};

    /// Absent for a request that has been cancelled.
    std::optional<Pending> take(std::int64_t request) {
        const auto found = requests.extract(request);
        return found.empty() ? std::nullopt : std::optional(found.mapped());
    }
};

/// Waits, and lets the question go when nobody waits for its answer any more.
template <typename Cancel>
Task<ModelAnswer> outcomeOf(Pending pending, Cancel cancel) {
    try {
        co_return co_await pending->outcome();
    } catch (const boost::system::system_error&) {
        cancel(pending);
        throw;
    }
}

} // namespace

/// Everything but the constructor, `context` and `shutDown` runs on the thread.
class SummarizerClient::Service {
public:
    explicit Service(WorkerSettings settings)
        : settings_(std::move(settings)), work_(context_->get_executor()), thread_([this] { context_->run(); }) {}

    const std::shared_ptr<asio::io_context>& context() const { return context_; }

    void shutDown() {
        asio::post(*context_, [this] { close(); });
        thread_.join();
    }

    template <typename Request>
    void start(const Pending& pending, Request request) {
        try {
            request.request = ++lastRequest_;
            Worker& worker = runningWorker();
            worker.link->send(encodeMessage(request));
            worker.requests.emplace(request.request, pending);
        } catch (const WorkerError& error) {
            pending->tellFailed(error);
        } catch (const std::exception& error) {
            pending->tellFailed(WorkerError::failed(error.what()));
        }
    }

    void cancel(const Pending& pending) {
        if (!worker_) {
            return;
        }
        const auto request = std::find_if(worker_->requests.begin(), worker_->requests.end(),
                                          [&](const auto& entry) { return entry.second == pending; });
        if (request != worker_->requests.end()) {
            worker_->link->send(encodeMessage(CancelRequest{request->first}));
            worker_->requests.erase(request);
        }
    }

    void hold(const std::filesystem::path& model) {
        try {
            isHeld_ = true;
            runningWorker().link->send(encodeMessage(HoldModel{.model = model}));
        } catch (const std::exception&) {
            // Whoever asks something is told.
        }
    }

    void release() {
        isHeld_ = false;
        if (worker_ && worker_->link->isOpen()) {
            worker_->link->send(encodeMessage(ReleaseModel{}));
        }
    }

private:
    Worker& runningWorker() {
        if (isClosed_) {
            throw WorkerError::closed(settings_.name);
        }
        if (!worker_ || !worker_->link->isOpen()) {
            worker_ = startWorker();
        }
        return *worker_;
    }

    std::shared_ptr<Worker> startWorker() {
        auto worker = std::make_shared<Worker>();
        const std::weak_ptr<Worker> weak = worker;
        WorkerLink::Handlers handlers{
            .received = [this, weak](Frame frame) { receive(*weak.lock(), std::move(frame)); },
            .isIdle = [this, weak] { return !isHeld_ && weak.lock()->requests.empty(); },
            .ended = [this, weak](const WorkerError& error) { end(weak.lock(), error); },
        };
        worker->link = std::make_shared<WorkerLink>(*context_, settings_, std::move(handlers));
        workers_.insert(worker);
        asio::co_spawn(*context_, worker->link->run(), [this, worker](const std::exception_ptr&) { forget(worker); });
        return worker;
    }

    void receive(Worker& worker, Frame frame) {
        const auto message = decodeMessage<MessageFromSummarizer>(std::move(frame));
        const Hello* hello = std::get_if<Hello>(&message);
        if (std::exchange(worker.isIntroduced, true) == (hello != nullptr)) {
            throw ProtocolError("The worker did not introduce itself once, and first.");
        }
        if (hello != nullptr && hello->version != Hello::currentVersion) {
            throw WorkerError::cannotStart(settings_.program, "It belongs to another version of Talkledger");
        }
        if (const auto* answer = std::get_if<ModelAnswer>(&message)) {
            if (const auto pending = worker.take(answer->request)) {
                (*pending)->tell(*answer);
            }
        } else if (const auto* failure = std::get_if<RequestFailed>(&message)) {
            if (const auto pending = worker.take(failure->request)) {
                (*pending)->tellFailed(WorkerError::failed(failure->description));
            }
        }
    }

    void end(const std::shared_ptr<Worker>& worker, const WorkerError& error) {
        if (worker_ == worker) {
            worker_.reset();
        }
        for (const auto& [number, pending] : std::exchange(worker->requests, {})) {
            pending->tellFailed(isClosed_ ? WorkerError::closed(settings_.name) : error);
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
    /// Shared with the pending answers, whose channels live in it.
    std::shared_ptr<asio::io_context> context_{std::make_shared<asio::io_context>(1)};
    std::shared_ptr<Worker> worker_;            ///< the one that takes questions
    std::set<std::shared_ptr<Worker>> workers_; ///< with those that have not quite ended yet
    std::int64_t lastRequest_{0};
    bool isHeld_{false};
    bool isClosed_{false};
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_; ///< last: it uses the rest
};

SummarizerClient::SummarizerClient(WorkerSettings settings) {
    settings.name = "The language model";
    service_ = std::make_shared<Service>(std::move(settings));
}

SummarizerClient::~SummarizerClient() {
    service_->shutDown();
}

Task<ModelAnswer> SummarizerClient::ask(AskModel question) {
    return start(std::move(question));
}

Task<ModelAnswer> SummarizerClient::check(CheckLanguageModel request) {
    return start(std::move(request));
}

void SummarizerClient::hold(const std::filesystem::path& model) {
    asio::post(*service_->context(), [service = service_.get(), model] { service->hold(model); });
}

void SummarizerClient::release() {
    asio::post(*service_->context(), [service = service_.get()] { service->release(); });
}

template <typename Request>
Task<ModelAnswer> SummarizerClient::start(Request request) {
    auto pending = std::make_shared<PendingAnswer>(service_->context());
    asio::post(*service_->context(),
               [service = service_.get(), pending, request = std::move(request)] { service->start(pending, request); });
    return outcomeOf(pending, [weak = std::weak_ptr(service_)](const Pending& unwanted) {
        if (const auto service = weak.lock()) {
            asio::post(*service->context(), [service = service.get(), unwanted] { service->cancel(unwanted); });
        }
    });
}

} // namespace talkledger
