#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Support/Task.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace talkledger {

/// Brings what the capture threads report about the recording in progress to the main thread. However fast a track's
/// levels arrive, at most one is on its way at a time, and it is the loudest. What was reported for an earlier
/// recording is dropped. Made with `std::make_shared`: the capture threads share its life.
class CaptureReports : public std::enable_shared_from_this<CaptureReports> {
public:
    using LevelHandler = std::function<void(AudioChannel, double level, MonotonicTime at)>;

    explicit CaptureReports(Executor main) : main_(std::move(main)) {}

    CaptureReports(const CaptureReports&) = delete;
    CaptureReports& operator=(const CaptureReports&) = delete;
    ~CaptureReports() = default;

    /// Any thread.
    void reportLevel(AudioChannel channel, double level, MonotonicTime at = MonotonicTime::clock::now());
    void reportTrackHealth(AudioChannel channel, TrackHealthEvent event);

    /// Main thread, as are the handlers.
    void beginRecording(LevelHandler levelHandler, TrackHealthHandler trackHealthHandler);
    void endRecording();

private:
    struct Level {
        std::atomic<double> loudest{0};
        std::atomic<bool> isOnItsWay{false};
    };

    Executor main_;
    std::atomic<std::uint64_t> recording_{0}; ///< counts beginnings and ends
    Level microphoneLevel_;
    Level systemAudioLevel_;
    LevelHandler levelHandler_;
    TrackHealthHandler trackHealthHandler_;
};

} // namespace talkledger
