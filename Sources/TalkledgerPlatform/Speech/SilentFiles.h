#pragma once

#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>

namespace talkledger {

/// Remembers in which files no speech was found, so that they are not searched again as long as they stay the same.
/// Used by one thread.
class SilentFiles {
public:
    /// A file's state at one moment, and the engine that searches it.
    struct Search {
        std::filesystem::path path;
        std::uintmax_t size{0};
        std::filesystem::file_time_type modified;
        SpeechEngineChoice engine;

        bool operator==(const Search&) const = default;
    };

    /// Absent when the file cannot be examined.
    static std::optional<Search> search(const std::filesystem::path& path, const SpeechEngineChoice& engine);

    void remember(const Search& search);
    bool knows(const Search& search) const;

private:
    std::deque<Search> searches_; ///< the latest last
};

} // namespace talkledger
