#include "TalkledgerApp/CaptureReports.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace talkledger {

void CaptureReports::reportMicrophoneLevel(double level) {
    level_ = level;
    if (isLevelOnItsWay_.exchange(true)) {
        return;
    }
    boost::asio::post(main_, [self = shared_from_this(), recording = recording_.load()] {
        self->isLevelOnItsWay_ = false;
        const double latest = self->level_;
        if (recording == self->recording_ && self->levelHandler_) {
            self->levelHandler_(latest);
        }
    });
}

void CaptureReports::reportTrackHealth(AudioChannel channel, TrackHealthEvent event) {
    boost::asio::post(main_, [self = shared_from_this(), recording = recording_.load(), channel, event] {
        if (recording == self->recording_ && self->trackHealthHandler_) {
            self->trackHealthHandler_(channel, event);
        }
    });
}

void CaptureReports::beginRecording(LevelHandler levelHandler, TrackHealthHandler trackHealthHandler) {
    ++recording_;
    levelHandler_ = std::move(levelHandler);
    trackHealthHandler_ = std::move(trackHealthHandler);
}

void CaptureReports::endRecording() {
    ++recording_;
    levelHandler_ = nullptr;
    trackHealthHandler_ = nullptr;
}

} // namespace talkledger
