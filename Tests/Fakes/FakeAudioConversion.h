#pragma once

#include "Fakes/CallLog.h"
#include "TalkledgerCore/Ports/AudioConversion.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace talkledger::testing {

/// Converters that hand out as many frames as the test says.
class FakeAudioConversion final : public AudioConversion {
public:
    CallLog log; ///< what was made, by input format, and how it was set up
    std::vector<std::uint32_t> capacities;
    std::vector<AudioConverterInput> inputs; ///< what the blocks gave, each asked twice
    std::optional<double> unsupportedRate;   ///< of the input format
    std::optional<std::uint32_t> frames{10}; ///< of each output; absent: the whole room
    AudioConverterOutcome outcome{.status = AudioConverterOutputStatus::inputRanDry, .error = std::nullopt};

    std::unique_ptr<AudioConverter> makeConverter(const AudioFormat& from, const AudioFormat& /*to*/) override {
        if (from.sampleRate == unsupportedRate) {
            return nullptr;
        }
        log.add("converter for " + std::to_string(std::lround(from.sampleRate)));
        return std::make_unique<Converter>(*this);
    }

private:
    class Converter final : public AudioConverter {
    public:
        explicit Converter(FakeAudioConversion& conversion) : conversion_(conversion) {}

        void setPrimeMethod(AudioConverterPrimeMethod method) override {
            conversion_.log.add(method == AudioConverterPrimeMethod::none ? "prime none" : "prime");
        }

        AudioConverterOutcome convert(AudioBuffer& output, const AudioConverterInputBlock& input) override {
            conversion_.capacities.push_back(output.frameLength);
            const AudioConverterInput first = input();
            conversion_.inputs.push_back(first);
            conversion_.inputs.push_back(input());
            output.time = first.buffer->time;
            output.frameLength = conversion_.frames.value_or(output.frameLength);
            return conversion_.outcome;
        }

    private:
        FakeAudioConversion& conversion_;
    };
};

} // namespace talkledger::testing
