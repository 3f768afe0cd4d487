#include "TalkledgerApp/RecordingExports.h"

#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <exception>
#include <functional>
#include <string>
#include <utility>

namespace talkledger {
namespace {

/// Absent where there is none, or none that can be read.
template <typename Load>
auto loaded(const Load& load) -> std::optional<decltype(load())> {
    try {
        return load();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

RecordingExports::RecordingExports(AppModel& model) : model_(model) {}

void RecordingExports::begin() {
    if (isRunning() || !model_.rootDirectory()) {
        return;
    }
    std::vector<RecordingSession> sessions;
    for (const RecordingSession& session : model_.sessions()) {
        if (session.endedAt) {
            sessions.push_back(session);
        }
    }
    model_.dismissLastError();
    count_ = static_cast<int>(sessions.size());
    doneCount_ = 0;
    savedCount_ = 0;
    setState(State::running);
    boost::asio::co_spawn(model_.mainExecutor(), saveAll(std::move(sessions)), boost::asio::detached);
}

void RecordingExports::cancel() {
    if (state_ == State::running) {
        setState(State::cancelled);
    }
}

void RecordingExports::dismiss() {
    if (!isRunning()) {
        setState(State::idle);
    }
}

Task<void> RecordingExports::saveAll(std::vector<RecordingSession> sessions) {
    std::optional<std::string> failure;
    try {
        co_await saveEach(std::move(sessions));
    } catch (const std::exception& error) {
        failure = error.what();
    }
    setState(State::ended);
    if (failure) {
        model_.showError(std::move(*failure));
    }
}

Task<void> RecordingExports::saveEach(std::vector<RecordingSession> sessions) {
    const std::filesystem::path folder = model_.markdownExportFolder();
    const AppCopy copy = model_.copy();
    for (const RecordingSession& session : sessions) {
        if (state_ == State::cancelled) {
            co_return;
        }
        const std::function<bool()> saveOne = [this, session, folder, copy] { return save(session, folder, copy); };
        const bool isSaved = co_await runOn(model_.backgroundExecutor(), saveOne);
        savedCount_ += isSaved ? 1 : 0;
        ++doneCount_;
        Q_EMIT changed();
    }
}

/// On the background executor.
bool RecordingExports::save(const RecordingSession& session, const std::filesystem::path& folder,
                            const AppCopy& copy) const {
    FileSystem& fileSystem = model_.ports().fileSystem;
    const RecordingStore store(*model_.rootDirectory(), fileSystem);
    const auto transcript = loaded([&] { return store.loadTranscript(session); });
    if (!transcript) {
        return false;
    }
    const auto summary = loaded([&] { return store.loadSummary(session); });
    RecordingMarkdownExporter(fileSystem).exportDocument(session, *transcript, summary, folder, copy);
    return true;
}

void RecordingExports::setState(State state) {
    state_ = state;
    Q_EMIT changed();
}

} // namespace talkledger
