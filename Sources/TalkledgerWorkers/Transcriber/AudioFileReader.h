#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <stop_token>

namespace talkledger {

/// A file that cannot be read as audio. `what()` is the user-visible text and names the file.
class AudioFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A WAV or M4A file as a stream of 16 kHz mono samples, however long it is. Damaged passages are skipped, and a file
/// cut short ends where its samples end. A stop request interrupts opening and reading. Used by one thread.
class AudioFileReader {
public:
    static constexpr int sampleRate = 16000;

    /// Throws `AudioFileError`.
    AudioFileReader(const std::filesystem::path& path, std::stop_token stop);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    /// The next samples, valid until the next call; empty at the end of the file or after a stop request.
    std::span<const std::int16_t> read();

    /// How much of the file has been read, 0 to 1, by its bytes: a file that is still being written, or was cut off,
    /// does not tell its duration.
    double share() const;

private:
    class Decoder;
    std::unique_ptr<Decoder> decoder_;
};

} // namespace talkledger
