#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechDetector.h"
#include "TalkledgerWorkers/Transcriber/VoicingDetector.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>

namespace talkledger {

/// Finds speech without a model, by what it has and other sounds lack: it stands out from the noise around it, vocal
/// cords swing in it, and its colour changes all the time, since a mouth moves. Noise has no voice, and tones, however
/// lively their melody, keep their colour while they sound.
class VoiceDetector : public SpeechDetector {
public:
    VoiceDetector();

    void reset() override;
    float probability(std::span<const float> frame) override;
    double lag() const override;

private:
    static constexpr std::size_t bandCount = 10;
    using Levels = std::array<float, bandCount>; ///< dB

    /// A resonator at one band's frequency.
    struct Band {
        float gain{0};
        float feedback1{0};
        float feedback2{0};
        float before1{0}; ///< the output one sample ago
        float before2{0};
        float input1{0};
        float input2{0};

        float process(float sample);
    };

    struct Frame {
        Levels levels{};
        int period{0}; ///< of the voice in it; 0 without one
        bool standsOut{false};
    };

    /// The lowest level of the last seconds, which is the noise's.
    class Floor {
    public:
        void hear(float level);
        float level() const;

    private:
        std::deque<float> minima_; ///< of stretches
        float current_{1000};
        int heard_{0};
    };

    Frame describe(std::span<const float> samples);
    bool hasChanged(const Frame& before, const Frame& after) const;

    std::array<Band, bandCount> bands_{};
    std::array<Floor, bandCount> bandFloors_{};
    Floor floor_;
    VoicingDetector voicing_;
    std::array<float, 2> softened_{}; ///< what it hears
    std::int64_t frames_{0};
    std::deque<Frame> recent_;
};

} // namespace talkledger
