#include "TalkledgerWorkers/Transcriber/StreamClock.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace talkledger {

namespace {

/// Seconds that capture times may be off without a reason.
constexpr double tolerance = 0.02;

/// Seconds of the stream. Whatever an engine still speaks of is younger.
constexpr double memory = 120;

} // namespace

double StreamClock::secondsMissing(double time) const {
    return anchors_.empty() ? 0 : time - this->time(heard_);
}

void StreamClock::resume(double time) {
    if (!anchors_.empty() && std::abs(secondsMissing(time)) <= tolerance) {
        return;
    }
    if (!anchors_.empty() && anchors_.back().streamSeconds == heard_) {
        anchors_.pop_back(); // nothing was heard at that time
    }
    anchors_.push_back({.streamSeconds = heard_, .time = time});
    while (anchors_.size() > 1 && anchors_[1].streamSeconds < heard_ - memory) {
        anchors_.pop_front();
    }
}

double StreamClock::time(double streamSeconds) const {
    if (anchors_.empty()) {
        return streamSeconds;
    }
    const auto after =
        std::upper_bound(anchors_.begin(), anchors_.end(), streamSeconds,
                         [](double seconds, const Anchor& anchor) { return seconds < anchor.streamSeconds; });
    const Anchor& anchor = after == anchors_.begin() ? *after : *std::prev(after);
    return anchor.time + (streamSeconds - anchor.streamSeconds);
}

} // namespace talkledger
