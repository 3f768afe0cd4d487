#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Sounds to be recognised: speech from the synthesiser flite, and what must not be taken for speech. All at 16 kHz,
/// one channel.
namespace talkledger::testing {

using Samples = std::vector<std::int16_t>;

/// Throws std::runtime_error.
Samples speak(const std::string& voice, const std::string& text);

Samples silence(double seconds);

/// A sound made by an effect chain of sox, like "synth 5 whitenoise vol 0.1". Throws std::runtime_error.
Samples synthesize(const std::string& effects);

Samples operator+(Samples first, const Samples& second);

/// The sum of both, sample by sample; as long as the first.
Samples mixed(Samples first, const Samples& second);

void writeWav(const std::filesystem::path& path, const Samples& samples);

/// The words that `heard` lacks, has wrongly or has in excess, as a share of the words of `spoken`.
double wordErrorRate(const std::string& spoken, const std::string& heard);

} // namespace talkledger::testing
