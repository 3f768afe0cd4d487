#include "TalkledgerWorkers/Transcriber/VoiceDetector.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace talkledger {

namespace {

constexpr float sampleRate = 16000;
constexpr std::array<float, 10> frequencies{250, 400, 600, 850, 1150, 1500, 2000, 2700, 3600, 5000}; ///< Hz
constexpr float sharpness = 3;

/// A low pass at 700 Hz, twice.
constexpr float softening = 0.24F;

/// Frames over which a decision is made.
constexpr std::size_t window = 20;

/// Frames between two that are compared.
constexpr std::size_t comparison = 2;

/// dB above the noise.
constexpr float standingOut = 4;
constexpr float bandStandingOut = 6;

/// dB above the noise, below which a band's level tells nothing.
constexpr float bandKnown = 3;

/// dB of full scale, below which nothing is speech.
constexpr float quietest = -62;

/// dB, the mean change of a band against the others.
constexpr float leastChange = 1.4F;

/// A voice's pitch changes by less than one part in so many between two frames.
constexpr int steadiness = 8;

/// Pairs of frames with a voice, and among them with a change, that one syllable has at least.
constexpr int leastPairs = 3;
constexpr int leastChanges = 2;

/// The share of the pairs with a change at which it is as likely speech as not.
constexpr float evenShare = 0.27F;

constexpr int stretchFrames = 16; ///< half a second
constexpr std::size_t stretches = 8;

float decibels(double energy, std::size_t count) {
    return static_cast<float>(10 * std::log10(energy / static_cast<double>(count) + 1e-10));
}

} // namespace

float VoiceDetector::Band::process(float sample) {
    const float output = gain * (sample - input2) - feedback1 * before1 - feedback2 * before2;
    input2 = input1;
    input1 = sample;
    before2 = before1;
    before1 = output;
    return output;
}

void VoiceDetector::Floor::hear(float level) {
    current_ = std::min(current_, level);
    if (++heard_ % stretchFrames == 0) {
        minima_.push_back(current_);
        current_ = level;
        if (minima_.size() > stretches) {
            minima_.pop_front();
        }
    }
}

float VoiceDetector::Floor::level() const {
    const float lowest = minima_.empty() ? current_ : *std::min_element(minima_.begin(), minima_.end());
    return std::min(lowest, current_);
}

VoiceDetector::VoiceDetector() {
    VoiceDetector::reset();
}

void VoiceDetector::reset() {
    for (std::size_t index = 0; index < bandCount; ++index) {
        const float angle = 2 * std::numbers::pi_v<float> * frequencies[index] / sampleRate;
        const float width = std::sin(angle) / (2 * sharpness);
        bands_[index] = {.gain = width / (1 + width),
                         .feedback1 = -2 * std::cos(angle) / (1 + width),
                         .feedback2 = (1 - width) / (1 + width)};
    }
    bandFloors_ = {};
    floor_ = {};
    voicing_.reset();
    softened_ = {};
    frames_ = 0;
    recent_.clear();
}

double VoiceDetector::lag() const {
    return static_cast<double>(window * frameLength) / sampleRate;
}

float VoiceDetector::probability(std::span<const float> samples) {
    recent_.push_back(describe(samples));
    if (recent_.size() > window) {
        recent_.pop_front();
    }
    int pairs = 0;
    int changes = 0;
    for (std::size_t index = comparison; index < recent_.size(); ++index) {
        const Frame& before = recent_[index - comparison];
        const Frame& after = recent_[index];
        if (before.period > 0 && after.period > 0 && before.standsOut && after.standsOut) {
            ++pairs;
            changes += hasChanged(before, after) ? 1 : 0;
        }
    }
    if (pairs < leastPairs || changes < leastChanges) {
        return 0;
    }
    const float share = static_cast<float>(changes) / static_cast<float>(pairs);
    return std::min(1.0F, share / evenShare / 2);
}

VoiceDetector::Frame VoiceDetector::describe(std::span<const float> samples) {
    Frame frame;
    std::array<double, bandCount> energies{};
    std::vector<std::int16_t> integers;
    integers.reserve(samples.size());
    double energy = 0;
    for (const float sample : samples) {
        energy += static_cast<double>(sample) * static_cast<double>(sample);
        // Most of a voice is low; where noise is, it hides the rest.
        softened_[0] += softening * (sample - softened_[0]);
        softened_[1] += softening * (softened_[0] - softened_[1]);
        integers.push_back(static_cast<std::int16_t>(std::lround(std::clamp(softened_[1], -1.0F, 1.0F) * 32767)));
        for (std::size_t band = 0; band < bandCount; ++band) {
            const double output = static_cast<double>(bands_[band].process(sample));
            energies[band] += output * output;
        }
    }
    for (std::size_t band = 0; band < bandCount; ++band) {
        frame.levels[band] = decibels(energies[band], samples.size());
        bandFloors_[band].hear(frame.levels[band]);
    }
    const float level = decibels(energy, samples.size());
    floor_.hear(level);
    frame.standsOut = level > std::max(floor_.level(), quietest) + standingOut;
    voicing_.append(integers);
    constexpr std::int64_t unknown = 5; // of the detector's frames: it needs to hear what follows
    const auto end = static_cast<std::int64_t>(static_cast<double>(++frames_) * frameLength / sampleRate *
                                               VoicingDetector::framesPerSecond) -
                     unknown;
    frame.period = voicing_.period(end - 3, end);
    voicing_.forget(end - 3);
    return frame;
}

/// Whether the sound has another colour, whatever its strength.
bool VoiceDetector::hasChanged(const Frame& before, const Frame& after) const {
    // The next note of a melody is another colour, too, yet also another pitch.
    if (std::abs(after.period - before.period) * steadiness > after.period) {
        return false;
    }
    std::array<float, bandCount> changes{};
    std::size_t count = 0;
    for (std::size_t band = 0; band < bandCount; ++band) {
        const float floor = std::max(bandFloors_[band].level(), quietest - 10);
        if (std::max(before.levels[band], after.levels[band]) > floor + bandStandingOut) {
            const float known = floor + bandKnown;
            changes[count++] = std::max(after.levels[band], known) - std::max(before.levels[band], known);
        }
    }
    constexpr std::size_t fewest = 3;
    if (count < fewest) {
        return false;
    }
    const std::span<const float> known = std::span(changes).first(count);
    float mean = 0;
    for (const float change : known) {
        mean += change / static_cast<float>(count);
    }
    float deviation = 0;
    for (const float change : known) {
        deviation += std::abs(change - mean) / static_cast<float>(count);
    }
    return deviation >= leastChange;
}

} // namespace talkledger
