#include "TalkledgerWorkers/SpokenAudio.h"

#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>
#include <stop_token>

namespace talkledger::testing {

namespace {

Samples readWav(const std::filesystem::path& path) {
    AudioFileReader reader(path, std::stop_token());
    Samples samples;
    for (auto block = reader.read(); !block.empty(); block = reader.read()) {
        samples.insert(samples.end(), block.begin(), block.end());
    }
    return samples;
}

std::vector<std::string> words(const std::string& text) {
    std::string plain;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        const bool belongs = std::isalpha(code) != 0 || character == '\'';
        plain += belongs ? static_cast<char>(std::tolower(code)) : ' ';
    }
    std::istringstream stream(plain);
    return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

Samples speak(const std::string& voice, const std::string& text) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "speech.wav";
    runProgram({.arguments = {"flite", "-voice", voice, "-t", text, "-o", path.string()}}, std::chrono::seconds(60));
    return readWav(path);
}

Samples silence(double seconds) {
    return Samples(static_cast<std::size_t>(seconds * AudioFileReader::sampleRate));
}

Samples synthesize(const std::string& effects) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "sound.wav";
    std::vector<std::string> arguments{"sox", "-R", "-n", "-r", "16000", "-c", "1", "-b", "16", path.string()};
    std::istringstream stream(effects);
    arguments.insert(arguments.end(), std::istream_iterator<std::string>(stream), {});
    runProgram({.arguments = arguments}, std::chrono::seconds(60));
    return readWav(path);
}

Samples play(const Tune& tune, double seconds) {
    constexpr double rate = AudioFileReader::sampleRate;
    constexpr std::array<int, 8> scale{0, 2, 4, 5, 7, 9, 11, 12};
    constexpr std::array<int, 4> chord{0, 4, 7, 11};
    constexpr double vibratoFrequency = 5.5;
    constexpr double softness = 0.02; // seconds of a note's beginning and end
    const auto semitones = [](int count) { return std::pow(2, count / 12.0); };
    std::minstd_rand random;
    Samples samples;
    double previous = tune.lowest;
    double turns = 0; // of the lowest voice
    const auto whole = static_cast<std::size_t>(seconds * rate);
    while (samples.size() < whole) {
        const double frequency = tune.lowest * semitones(scale.at(random() % scale.size()));
        const double length = tune.note * static_cast<double>(1 + random() % 2);
        for (int sample = 0; sample < length * rate; ++sample) {
            const double time = sample / rate;
            const double way = tune.glide > 0 ? std::min(1.0, time / tune.glide) : 1;
            const double swing = 1 + tune.vibrato * std::sin(2 * std::numbers::pi * vibratoFrequency * time);
            turns += previous * std::pow(frequency / previous, way) * swing / rate;
            double sum = 0;
            for (int voice = 0; voice < tune.voices; ++voice) {
                for (int harmonic = 1; harmonic <= tune.harmonics; ++harmonic) {
                    const double interval = harmonic * semitones(chord.at(static_cast<std::size_t>(voice)));
                    sum += std::sin(2 * std::numbers::pi * turns * interval) / harmonic / tune.voices;
                }
            }
            const double softened = std::min({1.0, time / softness, (length - time) / softness});
            samples.push_back(static_cast<std::int16_t>(8000 * sum * softened * std::exp(-tune.fading * time)));
        }
        samples.insert(samples.end(), static_cast<std::size_t>(tune.pause * rate), 0);
        previous = frequency;
    }
    samples.resize(whole);
    return samples;
}

std::vector<std::pair<std::string, Samples>> soundsWithoutSpeech() {
    constexpr double lengthOfEach = 20;
    std::vector<std::pair<std::string, Samples>> sounds;
    for (const char* effects : {
             "trim 0 20",                                                  // digital silence
             "synth 20 pinknoise vol 0.003",                               // a quiet room
             "synth 20 whitenoise vol 0.1",                                //
             "synth 20 pinknoise vol 0.3",                                 //
             "synth 20 brownnoise vol 0.5",                                //
             "synth 20 brownnoise tremolo 0.7 90 vol 0.8",                 // wind
             "synth 20 whitenoise tremolo 3 100 vol 0.3",                  // bursts
             "synth 20 pinknoise tremolo 4 80 vol 0.3",                    // as fast as syllables
             "synth 20 brownnoise band 500 200 vol 2",                     // a muffled room
             "synth 20 square 50 vol 0.1",                                 // hum
             "synth 20 sawtooth 100 vol 0.2",                              //
             "synth 20 sawtooth 150 tremolo 4 90 vol 0.3",                 // a motor
             "synth 20 sine 440 sine 480 tremolo 0.5 100 remix - vol 0.3", // a telephone rings
             "synth 20 triangle 300-1200 tremolo 0.4 90 vol 0.3",          // a siren
             "synth 20 sine 200-400 vol 0.3",                              //
             "synth 0.3 sawtooth 196 vol 0.3 pad 0 0.1 repeat 49",         // an alarm
             "synth 0.01 whitenoise vol 0.5 pad 0 0.3 repeat 63",          // slow typing
             "synth 0.02 pinknoise vol 0.7 pad 0 0.12 repeat 140",         // fast typing
             "synth 20 sawtooth 110 vol 0.2 flanger",                      //
             "synth 20 pluck 220 pluck 277 pluck 330 remix - vol 0.3",     //
         }) {
        sounds.emplace_back(effects, synthesize(effects));
    }
    const std::pair<const char*, Tune> tunes[] = {
        {"a low melody", {.lowest = 82}},
        {"a melody", {.lowest = 220}},
        {"a song without words", {.lowest = 131, .fading = 0.3, .vibrato = 0.02}},
        {"a high one", {.lowest = 220, .fading = 0.3, .vibrato = 0.02}},
        {"runs", {.lowest = 131, .note = 0.12}},
        {"glides", {.lowest = 220, .note = 0.3, .fading = 0.2, .glide = 0.15}},
        {"chords", {.lowest = 131, .note = 0.6, .voices = 3}},
        {"strings", {.lowest = 220, .note = 0.6, .voices = 4, .fading = 0.5, .vibrato = 0.01}},
        {"brass", {.lowest = 131, .harmonics = 20, .fading = 1}},
        {"short notes", {.lowest = 220, .note = 0.15, .fading = 6, .pause = 0.1}},
    };
    for (const auto& [name, tune] : tunes) {
        sounds.emplace_back(name, play(tune, lengthOfEach));
    }
    return sounds;
}

Samples operator+(Samples first, const Samples& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Samples mixed(Samples first, const Samples& second) {
    for (std::size_t index = 0; index < std::min(first.size(), second.size()); ++index) {
        first[index] = static_cast<std::int16_t>(std::clamp(first[index] + second[index], -32768, 32767));
    }
    return first;
}

void writeWav(const std::filesystem::path& path, const Samples& samples) {
    const auto length = static_cast<std::uint32_t>(samples.size() * sizeof(std::int16_t));
    constexpr std::uint32_t rate = AudioFileReader::sampleRate;
    std::ofstream file(path, std::ios::binary);
    const auto number = [&](std::uint32_t value, int bytes) {
        for (int position = 0; position < bytes; ++position) {
            file.put(static_cast<char>(value >> (8 * position)));
        }
    };
    file << "RIFF";
    number(36 + length, 4);
    file << "WAVEfmt ";
    number(16, 4);
    number(1, 2);
    number(1, 2);
    number(rate, 4);
    number(rate * 2, 4);
    number(2, 2);
    number(16, 2);
    file << "data";
    number(length, 4);
    file.write(reinterpret_cast<const char*>(samples.data()), length);
    if (!file.flush()) {
        throw std::runtime_error("The sound could not be written.");
    }
}

double secondsOf(const Samples& samples) {
    return static_cast<double>(samples.size()) / AudioFileReader::sampleRate;
}

std::vector<SpeechSegment> recognise(SpeechEngine& engine, std::span<const std::int16_t> samples,
                                     SpeechReporting reporting) {
    std::vector<SpeechSegment> segments;
    engine.begin(reporting, [&](const SpeechSegment& segment) { segments.push_back(segment); }, {});
    while (!samples.empty()) {
        const std::size_t length = std::min<std::size_t>(samples.size(), 1000); // no multiple of a frame
        engine.append(samples.first(length));
        samples = samples.subspan(length);
    }
    engine.finish();
    return segments;
}

double wordErrorRate(const std::string& spoken, const std::string& heard) {
    const std::vector<std::string> expected = words(spoken);
    const std::vector<std::string> found = words(heard);
    std::vector<std::size_t> distances(found.size() + 1);
    std::iota(distances.begin(), distances.end(), std::size_t{0});
    for (std::size_t row = 0; row < expected.size(); ++row) {
        std::size_t diagonal = distances[0];
        distances[0] = row + 1;
        for (std::size_t column = 0; column < found.size(); ++column) {
            const std::size_t substituted = diagonal + (expected[row] == found[column] ? 0 : 1);
            diagonal = distances[column + 1];
            distances[column + 1] = std::min({substituted, diagonal + 1, distances[column] + 1});
        }
    }
    return static_cast<double>(distances.back()) / static_cast<double>(expected.size());
}

} // namespace talkledger::testing
