#pragma once

#include "TalkledgerCore/Ports/Audio.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <vector>

namespace talkledger::testing {

constexpr std::size_t kTestRate = 48000;

inline AudioFormat floatFormat(std::uint32_t channelCount) {
    return {.commonFormat = AudioSampleFormat::float32,
            .sampleRate = kTestRate,
            .channelCount = channelCount,
            .isInterleaved = true};
}

inline MonotonicTime timeOfFrame(std::uint64_t frame) {
    return MonotonicTime(std::chrono::hours(1)) + std::chrono::nanoseconds(frame * 1'000'000'000 / kTestRate);
}

/// `samples` are interleaved; the buffer's time is that of `firstFrame`.
inline AudioBuffer makeBuffer(const std::vector<float>& samples, std::uint32_t channelCount,
                              std::uint64_t firstFrame = 0) {
    AudioBuffer buffer;
    buffer.format = floatFormat(channelCount);
    buffer.frameLength = static_cast<std::uint32_t>(samples.size() / channelCount);
    buffer.time = timeOfFrame(firstFrame);
    buffer.samples.resize(samples.size() * sizeof(float));
    std::memcpy(buffer.samples.data(), samples.data(), buffer.samples.size());
    return buffer;
}

/// Samples of 32 bits, interleaved, as another program writes them.
void writeWave(const std::filesystem::path& path, const std::vector<float>& samples, int channelCount = 1,
               int rate = kTestRate);

/// A cosine: it has a clear beginning.
std::vector<float> tone(double frequency, double seconds, double level = 0.4);

/// The first channel of a file from its time zero on, decoded as any player would. Empty when it cannot be opened.
std::vector<float> decodeFirstChannel(const std::filesystem::path& path);

/// Makes the process's files stop growing at `bytes`, as a full disk does; the destructor lifts it.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::uintmax_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
};

} // namespace talkledger::testing
