#include "TalkledgerPlatform/Worker/WorkerGroup.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>

#include <exception>
#include <utility>

namespace talkledger {

namespace asio = boost::asio;

WorkerGroup::WorkerGroup(WorkerSettings settings)
    : settings_(std::move(settings)), work_(context_->get_executor()), thread_([this] { context_->run(); }) {}

WorkerGroup::~WorkerGroup() {
    asio::post(*context_, [this] { close(); });
    thread_.join();
}

std::shared_ptr<WorkerLink> WorkerGroup::start(WorkerLink::Handlers handlers) {
    if (isClosed_) {
        throw WorkerError::closed(settings_.name);
    }
    handlers.ended = [this, tell = std::move(handlers.ended)](const WorkerError& error) {
        tell(isClosed_ ? WorkerError::closed(settings_.name) : error);
    };
    auto link = std::make_shared<WorkerLink>(*context_, settings_, std::move(handlers));
    links_.insert(link);
    asio::co_spawn(*context_, link->run(), [this, link](const std::exception_ptr&) {
        links_.erase(link);
        stopWhenClosed();
    });
    return link;
}

void WorkerGroup::close() {
    isClosed_ = true;
    for (const auto& link : links_) {
        link->close();
    }
    stopWhenClosed();
}

void WorkerGroup::stopWhenClosed() {
    if (isClosed_ && links_.empty()) {
        context_->stop();
    }
}

} // namespace talkledger
