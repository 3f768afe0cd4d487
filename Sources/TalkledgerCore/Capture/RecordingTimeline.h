#pragma once

#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerCore/Support/Task.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace talkledger {

/// Where each track's first sample lies on the recording's one time line: seconds from the moment when the microphone
/// track was asked to start. Kept as "timeline.json" in the recording's folder.
struct RecordingTimeline {
    double micStart{0};
    double speakerStart{0};

    double start(AudioChannel channel) const;

    /// Of the recording in `folder`; a missing, unreadable or impossible file means zeros. Never throws.
    static RecordingTimeline load(const FileSystem& fileSystem, const std::filesystem::path& folder);

    bool operator==(const RecordingTimeline&) const = default;
};

/// Keys "mic" and "speaker"; a missing one means 0. A start lies within the recording's first day.
Json toJson(const RecordingTimeline& timeline);
template <>
RecordingTimeline fromJson(const JsonReader& reader);

/// Keeps the time line of the recording in progress as its tracks begin. The file is written on an executor of its own,
/// never by the caller. A write that fails ends nothing: the next one carries what it held. Any thread may call it.
class RecordingTimelineRecorder : public std::enable_shared_from_this<RecordingTimelineRecorder> {
public:
    /// Made with `std::make_shared`. `fileSystem` has to outlive the writes; `background` may block.
    RecordingTimelineRecorder(FileSystem& fileSystem, const Executor& background);
    RecordingTimelineRecorder(const RecordingTimelineRecorder&) = delete;
    RecordingTimelineRecorder& operator=(const RecordingTimelineRecorder&) = delete;
    ~RecordingTimelineRecorder() = default;

    /// The microphone track of the recording in `folder` has been asked to start: the time line begins.
    void beginTimeline(std::filesystem::path folder, MonotonicTime now);

    /// When the time line of the last recording began; absent before the first.
    std::optional<MonotonicTime> origin() const;

    /// A track's first sample was captured at `time`. Does nothing before a time line has begun.
    void trackBegan(AudioChannel channel, MonotonicTime time);

    /// Returns when all that was told has been written, or could not be after another try.
    Task<> flush();

private:
    struct State {
        std::filesystem::path folder;
        MonotonicTime origin;
        RecordingTimeline timeline;
        bool isWritten{true};
    };

    void write() noexcept;

    FileSystem* fileSystem_;
    Executor writes_; ///< in order, one at a time
    mutable std::mutex lock_;
    std::optional<State> state_;
};

} // namespace talkledger
