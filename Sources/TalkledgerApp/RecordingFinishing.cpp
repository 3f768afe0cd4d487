#include "TalkledgerApp/RecordingFinishing.h"

#include "TalkledgerCore/Presentation/TimeLeft.h"

#include <algorithm>

namespace talkledger {

void RecordingFinishing::begin(std::chrono::duration<double> length, const std::set<AudioChannel>& channels) {
    step_ = Step::saving;
    length_ = length;
    shares_.clear();
    for (const AudioChannel channel : channels) {
        shares_[channel] = 0;
    }
    Q_EMIT changed();
}

void RecordingFinishing::reach(FinishingStep step) {
    if (step == FinishingStep::transcribing) {
        step_ = Step::transcribing;
        transcribing_.start();
    } else {
        step_ = Step::summarizing;
        for (auto& [channel, share] : shares_) {
            share = 1;
        }
    }
    Q_EMIT changed();
}

void RecordingFinishing::setShare(AudioChannel channel, double share) {
    if (const auto known = shares_.find(channel); known != shares_.end()) {
        known->second = std::clamp(share, 0.0, 1.0);
        Q_EMIT changed();
    }
}

void RecordingFinishing::end() {
    step_ = Step::none;
    shares_.clear();
    Q_EMIT changed();
}

double RecordingFinishing::share(AudioChannel channel) const {
    const auto known = shares_.find(channel);
    return known == shares_.end() ? 0 : known->second;
}

double RecordingFinishing::share() const {
    double sum = 0;
    for (const auto& [channel, share] : shares_) {
        sum += share;
    }
    return shares_.empty() ? 0 : sum / static_cast<double>(shares_.size());
}

/// The track that is behind decides.
int RecordingFinishing::secondsLeft() const {
    const auto behind = std::ranges::min_element(shares_, {}, &std::pair<const AudioChannel, double>::second);
    if (step_ != Step::transcribing || behind == shares_.end()) {
        return -1;
    }
    const auto left = timeLeft(std::chrono::milliseconds(transcribing_.elapsed()), behind->second);
    return left ? static_cast<int>(left->count()) : -1;
}

} // namespace talkledger
