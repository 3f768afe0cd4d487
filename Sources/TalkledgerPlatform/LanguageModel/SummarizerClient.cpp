#include "TalkledgerPlatform/LanguageModel/SummarizerClient.h"

#include "TalkledgerPlatform/LanguageModel/PendingAnswer.h"
#include "TalkledgerPlatform/Worker/WorkerGroup.h"
#include "TalkledgerWorkers/Protocol/Message.h"

#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
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

/// Everything but the constructor, the destructor and `context` runs on the thread.
class SummarizerClient::Service {
public:
    explicit Service(WorkerSettings settings) : group_(std::move(settings)) {}

    const std::shared_ptr<asio::io_context>& context() const { return group_.context(); }

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
        if (!worker_ || !worker_->link->isOpen()) {
            worker_ = startWorker();
        }
        return *worker_;
    }

    std::shared_ptr<Worker> startWorker() {
        auto worker = std::make_shared<Worker>();
        WorkerLink::Handlers handlers{
            .received = [worker](Frame frame) { receive(*worker, std::move(frame)); },
            .isIdle = [this, worker] { return !isHeld_ && worker->requests.empty(); },
            .ended = [this, worker](const WorkerError& error) { end(worker, error); },
        };
        worker->link = group_.start(std::move(handlers));
        return worker;
    }

    static void receive(Worker& worker, Frame frame) {
        const auto message = decodeMessage<MessageFromSummarizer>(std::move(frame));
        if (const auto* answer = std::get_if<ModelAnswer>(&message)) {
            if (const auto pending = worker.take(answer->request)) {
                (*pending)->tell(*answer);
            }
        } else if (const auto* failure = std::get_if<RequestFailed>(&message)) {
            if (const auto pending = worker.take(failure->request)) {
                (*pending)->tellFailed(WorkerError::failed(*failure));
            }
        }
    }

    void end(const std::shared_ptr<Worker>& worker, const WorkerError& error) {
        if (worker_ == worker) {
            worker_.reset();
        }
        for (const auto& [number, pending] : std::exchange(worker->requests, {})) {
            pending->tellFailed(error);
        }
    }

    std::shared_ptr<Worker> worker_; ///< the one that takes questions
    std::int64_t lastRequest_{0};
    bool isHeld_{false};
    WorkerGroup group_; ///< last: its thread uses the rest
};

SummarizerClient::SummarizerClient(WorkerSettings settings) {
    settings.name = "The language model";
    service_ = std::make_shared<Service>(std::move(settings));
}

SummarizerClient::~SummarizerClient() = default;

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
