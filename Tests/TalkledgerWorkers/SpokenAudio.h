#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <utility>
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

/// Notes of a major scale, one after the other.
struct Tune {
    double lowest{131}; ///< Hz, of the scale
    double note{0.4};   ///< seconds, of the shorter ones
    int voices{1};      ///< up to four, which make a chord
    int harmonics{8};   ///< of each voice
    double fading{3};   ///< how fast a note dies away, a second
    double vibrato{0};  ///< as a share of the frequency
    double glide{0};    ///< seconds from one note to the next
    double pause{0};    ///< seconds between notes
};

Samples play(const Tune& tune, double seconds);

/// Ten minutes of silence, noise, hum, machines and music, piece by piece with what each is.
std::vector<std::pair<std::string, Samples>> soundsWithoutSpeech();

Samples operator+(Samples first, const Samples& second);

/// The sum of both, sample by sample; as long as the first.
Samples mixed(Samples first, const Samples& second);

void writeWav(const std::filesystem::path& path, const Samples& samples);

double secondsOf(const Samples& samples);

/// What an engine tells of a stream that comes in pieces.
std::vector<SpeechSegment> recognise(SpeechEngine& engine, std::span<const std::int16_t> samples,
                                     SpeechReporting reporting = SpeechReporting::finalSegments);

/// The words that `heard` lacks, has wrongly or has in excess, as a share of the words of `spoken`.
double wordErrorRate(const std::string& spoken, const std::string& heard);

} // namespace talkledger::testing
