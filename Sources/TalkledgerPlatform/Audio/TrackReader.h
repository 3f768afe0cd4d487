#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace talkledger {

/// A WAV or M4A file as stereo samples of one rate, from any place on. Damaged passages are left out, and a file cut
/// short ends where its samples end. The file is hostile until parsed: only what a recording can hold is opened. Used
/// by one thread at a time.
class TrackReader {
public:
    static constexpr std::uint32_t sampleRate = 48000;
    static constexpr std::size_t channelCount = 2;

    /// Throws AudioFileError.
    explicit TrackReader(const std::filesystem::path& path);
    ~TrackReader();
    TrackReader(const TrackReader&) = delete;
    TrackReader& operator=(const TrackReader&) = delete;

    /// The next sample to be read, by its number from the file's beginning on.
    void seek(std::int64_t frame);

    /// Fills left and right in turn; how many frames there were. Fewer than asked for only at the end.
    std::size_t read(std::span<float> interleaved);

private:
    class Decoder;
    std::unique_ptr<Decoder> decoder_;
};

} // namespace talkledger
