#include "TalkledgerApp/RecordingLibrary.h"

#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace talkledger {
namespace {

bool isNewer(const RecordingSession& left, const RecordingSession& right) {
    return left.startedAt > right.startedAt;
}

} // namespace

RecordingLibrary::RecordingLibrary(Load load, Executor main, Executor background)
    : load_(std::move(load)), main_(std::move(main)), background_(std::move(background)) {}

void RecordingLibrary::reload() {
    ++changes_;
    if (!std::exchange(isLoading_, true)) {
        boost::asio::co_spawn(main_, loadAll(), boost::asio::detached);
    }
}

/// Until nothing has changed while they were read.
Task<void> RecordingLibrary::loadAll() {
    std::vector<RecordingSession> loaded;
    std::optional<std::string> failure;
    std::uint64_t known = 0;
    do {
        known = changes_;
        failure.reset();
        try {
            loaded = co_await runOn(background_, load_);
        } catch (const std::exception& error) {
            failure = error.what();
        }
    } while (known != changes_);
    isLoading_ = false;
    hasLoaded_ = true;
    if (failure) {
        Q_EMIT failed(*failure);
    } else {
        std::stable_sort(loaded.begin(), loaded.end(), isNewer);
        sessions_ = std::move(loaded);
    }
    Q_EMIT changed();
}

void RecordingLibrary::put(const RecordingSession& session) {
    ++changes_;
    const auto known = std::ranges::find(sessions_, session.id, &RecordingSession::id);
    if (known != sessions_.end()) {
        *known = session;
    } else {
        sessions_.insert(std::upper_bound(sessions_.begin(), sessions_.end(), session, isNewer), session);
    }
    Q_EMIT changed();
}

void RecordingLibrary::remove(const RecordingSession& session) {
    ++changes_;
    std::erase_if(sessions_, [&](const RecordingSession& kept) { return kept.id == session.id; });
    Q_EMIT changed();
}

} // namespace talkledger
