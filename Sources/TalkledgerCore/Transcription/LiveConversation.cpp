#include "TalkledgerCore/Transcription/LiveConversation.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace talkledger {

namespace {

/// Partial segments stand behind all final ones of the same time and channel.
std::size_t sequenceOf(const ConversationState::Place& place) {
    constexpr std::size_t last = std::numeric_limits<std::size_t>::max();
    return place.finalPosition.value_or(place.key.role == SpeakerRole::me ? last - 1 : last);
}

} // namespace

LiveConversation::LiveConversation(TranscriptSourceSeparator separator) : separator_(separator) {}

std::vector<TranscriptLineChange> LiveConversation::apply(const TranscriptSegment& segment) {
    const std::optional<ConversationState::Place> place = state_.apply(segment);
    if (place) {
        if (const auto superseded = partials_.find(place->key); superseded != partials_.end()) {
            leave(superseded->second);
            partials_.erase(superseded);
        }
        store(*place);
    }
    return timeline_.takeChanges();
}

std::vector<TranscriptLineChange> LiveConversation::reset() {
    state_.reset();
    finals_.clear();
    partials_.clear();
    microphone_ = {};
    speaker_ = {};
    alphabet_ = {};
    return timeline_.clear();
}

TranscriptDocument LiveConversation::transcript() const {
    TranscriptDocument transcript;
    const auto append = [&](const Utterance& utterance) {
        if (utterance.echoOf == nullptr) {
            transcript.segments.push_back(segmentAt(utterance.place));
        }
    };
    for (const Utterance& utterance : finals_) {
        append(utterance);
    }
    for (const auto& [key, utterance] : partials_) {
        append(utterance);
    }
    std::stable_sort(transcript.segments.begin(), transcript.segments.end(), precedesInTranscript);
    return transcript;
}

const TranscriptSegment& LiveConversation::segmentAt(const ConversationState::Place& place) const {
    return place.finalPosition ? state_.finalSegments()[*place.finalPosition] : state_.partialSegments().at(place.key);
}

LiveConversation::Utterance LiveConversation::utteranceAt(const ConversationState::Place& place) const {
    const TranscriptSegment& segment = segmentAt(place);
    return {.place = place,
            .order = {.startTime = segment.startTime, .channel = segment.channel, .sequence = sequenceOf(place)},
            .span = {segment, separator_.overlapTolerance},
            .text = std::nullopt};
}

void LiveConversation::store(const ConversationState::Place& place) {
    if (!place.finalPosition) {
        enter(partials_.emplace(place.key, utteranceAt(place)).first->second);
    } else if (*place.finalPosition == finals_.size()) {
        enter(finals_.emplace_back(utteranceAt(place)));
    } else {
        Utterance& corrected = finals_[*place.finalPosition];
        leave(corrected);
        corrected = utteranceAt(place);
        enter(corrected);
    }
}

void LiveConversation::enter(Utterance& utterance) {
    if (utterance.order.channel == AudioChannel::mic) {
        microphone_.insert(utterance.span, &utterance);
        showUnlessEcho(utterance);
        return;
    }
    speaker_.insert(utterance.span, &utterance);
    timeline_.show(utterance.order, segmentAt(utterance.place));
    microphone_.anyOverlapping(utterance.span, [&](Utterance* microphone) {
        if (microphone->echoOf == nullptr && isEcho(*microphone, utterance)) {
            microphone->echoOf = &utterance;
            timeline_.hide(microphone->order);
        }
        return false;
    });
}

void LiveConversation::leave(Utterance& utterance) {
    timeline_.hide(utterance.order);
    if (utterance.order.channel == AudioChannel::mic) {
        microphone_.erase(utterance.span, &utterance);
        return;
    }
    speaker_.erase(utterance.span, &utterance);
    microphone_.anyOverlapping(utterance.span, [&](Utterance* microphone) {
        if (microphone->echoOf == &utterance) {
            microphone->echoOf = nullptr;
            showUnlessEcho(*microphone);
        }
        return false;
    });
}

void LiveConversation::showUnlessEcho(Utterance& microphone) {
    const bool hasOriginal = speaker_.anyOverlapping(microphone.span, [&](Utterance* speaker) {
        const bool isOriginal = isEcho(microphone, *speaker);
        if (isOriginal) {
            microphone.echoOf = speaker;
        }
        return isOriginal;
    });
    if (!hasOriginal) {
        timeline_.show(microphone.order, segmentAt(microphone.place));
    }
}

bool LiveConversation::isEcho(Utterance& microphone, Utterance& speaker) {
    return areSimilar(textOf(microphone), textOf(speaker), separator_.similarityThreshold);
}

const SpokenText& LiveConversation::textOf(Utterance& utterance) {
    return utterance.text ? *utterance.text : utterance.text.emplace(alphabet_.read(segmentAt(utterance.place).text));
}

} // namespace talkledger
