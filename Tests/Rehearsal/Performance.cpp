#include "Rehearsal/Performance.h"

#include <cmath>
#include <numbers>

namespace talkledger::rehearsal {
namespace {

constexpr std::size_t seconds(double time) {
    return static_cast<std::size_t>(time * kFrameRate);
}

// Around everything: links become active in the first, and the last part of a quantum can be lost.
constexpr std::size_t kSilenceAround = seconds(0.5);
constexpr std::size_t kPauseBetween = seconds(0.7);
// From the loudspeakers into the microphone: twelve decibels down, seven metres of air.
constexpr std::size_t kEchoDelay = seconds(0.02);
const float kEchoGain = std::pow(10.0F, -12.0F / 20.0F);

void mix(Samples& track, const Samples& samples, std::size_t position, float gain) {
    for (std::size_t index = 0; index < samples.size(); ++index) {
        track[position + index] += gain * samples[index];
    }
}

} // namespace

Samples synchronizationSound() {
    constexpr double kLength = 0.1;
    constexpr double kAmplitude = 0.25;
    constexpr double kFrom = 500;
    constexpr double kTo = 6000;
    Samples samples(seconds(kLength));
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double time = static_cast<double>(index) / kFrameRate;
        const double phase = 2 * std::numbers::pi * (kFrom * time + (kTo - kFrom) * time * time / (2 * kLength));
        const double window = std::pow(std::sin(std::numbers::pi * time / kLength), 2);
        samples[index] = static_cast<float>(kAmplitude * window * std::sin(phase));
    }
    return samples;
}

Performance perform(const std::vector<SpokenUtterance>& utterances) {
    const Samples synchronization = synchronizationSound();
    std::size_t length = 2 * (kSilenceAround + synchronization.size()) + kPauseBetween;
    for (const SpokenUtterance& utterance : utterances) {
        length += utterance.samples.size() + kPauseBetween;
    }

    Performance performance;
    performance.output.resize(length);
    performance.microphone.resize(length);
    std::size_t position = kSilenceAround;
    const auto synchronize = [&] {
        mix(performance.output, synchronization, position, 1);
        mix(performance.microphone, synchronization, position, 1);
        position += synchronization.size();
    };

    performance.passageBegin = position;
    synchronize();
    bool isHeardInRoom = true; // every other time that the customer speaks
    for (const SpokenUtterance& utterance : utterances) {
        position += kPauseBetween;
        if (utterance.isCustomer) {
            mix(performance.output, utterance.samples, position, 1);
            if (isHeardInRoom) {
                mix(performance.microphone, utterance.samples, position + kEchoDelay, kEchoGain);
            }
            isHeardInRoom = !isHeardInRoom;
        } else {
            mix(performance.microphone, utterance.samples, position, 1);
        }
        position += utterance.samples.size();
    }
    position += kPauseBetween;
    synchronize();
    performance.passageEnd = position;
    return performance;
}

} // namespace talkledger::rehearsal
