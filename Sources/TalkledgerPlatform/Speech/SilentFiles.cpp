#include "TalkledgerPlatform/Speech/SilentFiles.h"

#include <algorithm>
#include <cstddef>
#include <system_error>

namespace talkledger {

std::optional<SilentFiles::Search> SilentFiles::search(const std::filesystem::path& path,
                                                       const SpeechEngineChoice& engine) {
    std::error_code failure;
    Search search{.path = path, .size = 0, .modified = {}, .engine = engine};
    search.size = std::filesystem::file_size(path, failure);
    if (failure) {
        return std::nullopt;
    }
    search.modified = std::filesystem::last_write_time(path, failure);
    if (failure) {
        return std::nullopt;
    }
    return search;
}

void SilentFiles::remember(const Search& search) {
    constexpr std::size_t capacity = 16; // the locales of a recording's two tracks, with room
    searches_.push_back(search);
    if (searches_.size() > capacity) {
        searches_.pop_front();
    }
}

bool SilentFiles::knows(const Search& search) const {
    return std::find(searches_.begin(), searches_.end(), search) != searches_.end();
}

} // namespace talkledger
