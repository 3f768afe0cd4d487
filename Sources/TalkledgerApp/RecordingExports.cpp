#include "TalkledgerApp/RecordingExports.h"

#include "TalkledgerApp/StoredDocument.h"
#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace talkledger {
namespace {

/// False for a recording that has no transcript. Throws `FileSystemError`.
bool saveDocument(FileSystem& fileSystem, const RecordingSession& session, const std::filesystem::path& folder,
                  const AppCopy& copy) {
    const auto transcript = storedDocument<TranscriptDocument>(fileSystem, session.artifacts.transcript);
    if (!transcript) {
        return false;
    }
    const auto summary = storedDocument<SalesSummary>(fileSystem, session.artifacts.summary);
    RecordingMarkdownExporter(fileSystem).exportDocument(session, *transcript, summary, folder, copy);
    return true;
}

} // namespace

RecordingExports::RecordingExports(AppModel& model) : model_(model) {}

void RecordingExports::begin() {
    if (isRunning()) {
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
        const std::function<bool()> saveOne = [&fileSystem = model_.ports().fileSystem, session, folder, copy] {
            return saveDocument(fileSystem, session, folder, copy);
        };
        const bool isSaved = co_await runOn(model_.backgroundExecutor(), saveOne);
        savedCount_ += isSaved ? 1 : 0;
        ++doneCount_;
        Q_EMIT changed();
    }
}

void RecordingExports::setState(State state) {
    state_ = state;
    Q_EMIT changed();
}

} // namespace talkledger
