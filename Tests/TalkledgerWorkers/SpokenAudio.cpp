#include "TalkledgerWorkers/SpokenAudio.h"

#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerWorkers/Transcriber/AudioFileReader.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <numeric>
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
