#include "TalkledgerPlatform/ModelFiles/DownloadUnderWay.h"

#include "TalkledgerCore/Support/Continuation.h"

#include <boost/asio/this_coro.hpp>

#include <utility>
#include <variant>

namespace talkledger {

class DownloadUnderWay::Wait : public Continuation<std::monostate> {
public:
    using Continuation::Continuation;
};

DownloadUnderWay::DownloadUnderWay(std::shared_ptr<ModelFileProgress> progress) : progress_(std::move(progress)) {}

DownloadUnderWay::~DownloadUnderWay() = default;

void DownloadUnderWay::pause() {
    progress_->end = ModelFileProgress::End::paused;
}

Task<void> DownloadUnderWay::end() {
    const Executor executor = co_await boost::asio::this_coro::executor;
    const auto wait = std::make_shared<Wait>(executor);
    waits_.emplace_back(wait);
    co_await wait->wait();
}

void DownloadUnderWay::tellEnd(const std::exception_ptr& failure) {
    hasEnded_ = true;
    for (const auto& weak : std::exchange(waits_, {})) {
        const auto wait = weak.lock();
        if (wait && failure) {
            wait->fail(failure);
        } else if (wait) {
            wait->resume({});
        }
    }
}

} // namespace talkledger
