#include "TalkledgerCore/Capture/RecordingTimeline.h"

#include "TalkledgerCore/Support/RunOn.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <utility>

namespace talkledger {

namespace {

constexpr double latestStartSeconds = 24 * 60 * 60;
constexpr std::int64_t maximumFileBytes = 4096;

std::filesystem::path timelineFile(const std::filesystem::path& folder) {
    return folder / "timeline.json";
}

double trackStart(const JsonReader& reader, std::string_view key) {
    const std::optional<JsonReader> value = reader.optional(key);
    if (!value) {
        return 0;
    }
    const double seconds = value->number();
    if (seconds >= 0 && seconds <= latestStartSeconds) {
        return seconds;
    }
    throw value->invalid("seconds within the recording's first day");
}

} // namespace

double RecordingTimeline::start(AudioChannel channel) const {
    return channel == AudioChannel::mic ? micStart : speakerStart;
}

RecordingTimeline RecordingTimeline::load(const FileSystem& fileSystem, const std::filesystem::path& folder) {
    const std::filesystem::path file = timelineFile(folder);
    try {
        return decodeJson<RecordingTimeline>(fileSystem.readFile(file, maximumFileBytes), jsonFile(file));
    } catch (const std::exception&) {
        return {};
    }
}

Json toJson(const RecordingTimeline& timeline) {
    return Json{{"mic", timeline.micStart}, {"speaker", timeline.speakerStart}};
}

template <>
RecordingTimeline fromJson(const JsonReader& reader) {
    RecordingTimeline timeline;
    timeline.micStart = trackStart(reader, "mic");
    timeline.speakerStart = trackStart(reader, "speaker");
    return timeline;
}

RecordingTimelineRecorder::RecordingTimelineRecorder(FileSystem& fileSystem, const Executor& background)
    : fileSystem_(&fileSystem), writes_(boost::asio::make_strand(background)) {}

void RecordingTimelineRecorder::beginTimeline(std::filesystem::path folder, MonotonicTime now) {
    const std::lock_guard guard(lock_);
    state_ = State{.folder = std::move(folder), .origin = now, .timeline = {}, .isWritten = true};
}

std::optional<MonotonicTime> RecordingTimelineRecorder::origin() const {
    const std::lock_guard guard(lock_);
    return state_ ? std::optional(state_->origin) : std::nullopt;
}

void RecordingTimelineRecorder::trackBegan(AudioChannel channel, MonotonicTime time) {
    {
        const std::lock_guard guard(lock_);
        if (!state_) {
            return;
        }
        // A device may hand over a moment of sound from just before it was asked.
        const double seconds = std::max(0.0, std::chrono::duration<double>(time - state_->origin).count());
        (channel == AudioChannel::mic ? state_->timeline.micStart : state_->timeline.speakerStart) = seconds;
        state_->isWritten = false;
    }
    boost::asio::post(writes_, [self = shared_from_this()] { self->write(); });
}

Task<> RecordingTimelineRecorder::flush() {
    std::function<void()> writeOnce = [self = shared_from_this()] { self->write(); };
    return runOn(writes_, std::move(writeOnce));
}

void RecordingTimelineRecorder::write() noexcept {
    std::filesystem::path folder;
    try {
        RecordingTimeline timeline;
        {
            const std::lock_guard guard(lock_);
            if (!state_ || state_->isWritten) {
                return;
            }
            folder = state_->folder;
            timeline = state_->timeline;
            state_->isWritten = true;
        }
        fileSystem_->writeFileAtomically(timelineFile(folder), encodeJson(toJson(timeline)));
    } catch (const std::exception&) {
        const std::lock_guard guard(lock_);
        if (state_->folder == folder) {
            state_->isWritten = false;
        }
    }
}

} // namespace talkledger
