#include "TalkledgerApp/CaptureReports.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace talkledger {

void CaptureReports::reportLevel(AudioChannel channel, double level, MonotonicTime at) {
    Level& reported = channel == AudioChannel::mic ? microphoneLevel_ : systemAudioLevel_;
    double loudest = reported.loudest;
    while (loudest < level && !reported.loudest.compare_exchange_weak(loudest, level)) {
    }
    if (reported.isOnItsWay.exchange(true)) {
        return;
    }
    boost::asio::post(main_, [self = shared_from_this(), &reported, recording = recording_.load(), channel, at] {
        reported.isOnItsWay = false;
        const double heard = reported.loudest.exchange(0);
        if (recording == self->recording_ && self->levelHandler_) {
            self->levelHandler_(channel, heard, at);
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
