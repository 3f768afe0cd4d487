#include "TalkledgerApp/StoredTranscript.h"

#include "TalkledgerApp/StoredDocument.h"
#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <cstdint>
#include <functional>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

/// About what is said in an hour, and read in a few milliseconds.
constexpr std::int64_t longTranscriptBytes = std::int64_t{256} << 10;

StoredTranscript::Content contentOf(const FileSystem& fileSystem, const std::filesystem::path& file) {
    TranscriptDocument transcript = storedDocument<TranscriptDocument>(fileSystem, file).value_or(TranscriptDocument());
    const TranscriptTimelineBuilder builder;
    StoredTranscript::Content content{
        .segments = {}, .lines = builder.buildLines(transcript), .spans = builder.buildSpans(transcript)};
    content.segments = std::move(transcript.segments);
    return content;
}

} // namespace

StoredTranscript::StoredTranscript(const AppModel& model)
    : model_(model), self_(std::make_shared<StoredTranscript*>(this)) {
    connect(&model, &AppModel::sessionsChanged, this, &StoredTranscript::load);
    connect(&model, &AppModel::currentSessionChanged, this, &StoredTranscript::load);
}

void StoredTranscript::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        version_.reset();
        isBeingRead_ = false;
        content_ = {};
        load();
        Q_EMIT changed();
    }
}

std::optional<StoredTranscript::Version> StoredTranscript::versionOnDisk() const {
    const RecordingSession* const session = model_.session(recordingID_);
    if (session == nullptr || recordingID_ == model_.currentRecordingID()) {
        return std::nullopt;
    }
    std::error_code missing;
    const auto written = std::filesystem::last_write_time(session->artifacts.transcript, missing);
    return missing ? std::nullopt : std::optional(Version{.file = session->artifacts.transcript, .written = written});
}

void StoredTranscript::load() {
    const std::optional<Version> version = versionOnDisk();
    if (std::exchange(version_, version) == version) {
        return;
    }
    if (!version) {
        take({});
        return;
    }
    const FileSystem& fileSystem = model_.ports().fileSystem;
    if (fileSystem.fileSize(version->file).value_or(0) <= longTranscriptBytes) {
        take(contentOf(fileSystem, version->file));
        return;
    }
    isBeingRead_ = true;
    Q_EMIT changed();
    boost::asio::co_spawn(model_.mainExecutor(), readBeside(self_, model_.backgroundExecutor(), fileSystem, *version),
                          boost::asio::detached);
}

Task<void> StoredTranscript::readBeside(std::weak_ptr<StoredTranscript*> weak, Executor background,
                                        const FileSystem& fileSystem, Version version) {
    const std::function<Content()> read = [&fileSystem, file = version.file] { return contentOf(fileSystem, file); };
    Content content = co_await runOn(background, read);
    if (const auto self = weak.lock(); self && (*self)->version_ == version) {
        (*self)->take(std::move(content));
    }
}

void StoredTranscript::take(Content content) {
    isBeingRead_ = false;
    content_ = std::move(content);
    Q_EMIT changed();
}

} // namespace talkledger
