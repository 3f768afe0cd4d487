#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"
#include "TalkledgerCore/Presentation/RecordingSearch.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace talkledger {

/// The search index of the recordings on disk. It reads what has changed since it last looked, one recording after the
/// other; a search meanwhile finds what has been read so far. Any thread.
class RecordingSearchIndex {
public:
    struct Found {
        RecordingSession session;
        std::size_t hitCount{0};
        std::vector<RecordingSearchHit> hits; ///< the first ones
    };

    struct Result {
        std::size_t recordingCount{0};
        std::optional<std::size_t> hitCount; ///< absent when there are too many to be counted at once
        std::vector<Found> found;            ///< newest first; no more than were asked for
    };

    /// It has to outlive the index.
    explicit RecordingSearchIndex(const FileSystem& fileSystem) : fileSystem_(fileSystem) {}

    /// Takes these recordings for all that there are. Ends early when a later call has begun; false then.
    bool update(const std::vector<RecordingSession>& sessions, const AppCopy& copy);

    /// With the first places of up to `most` recordings.
    Result search(const RecordingSearchQuery& query, std::size_t most) const;

private:
    /// What tells that a recording has changed.
    struct Stamp {
        RecordingSession session;
        AppCopy copy;
        std::array<std::filesystem::file_time_type, 2> written; ///< transcript and summary

        bool operator==(const Stamp&) const = default;
    };

    static Stamp stampOf(const RecordingSession& session, const AppCopy& copy);
    std::vector<RecordingSearchPlace> read(const RecordingSession& session, const AppCopy& copy) const;

    const FileSystem& fileSystem_;
    std::atomic<unsigned> updates_{0};

    mutable std::mutex lock_; ///< of what follows; held for one recording or one search at a time
    RecordingSearch search_;
    std::map<boost::uuids::uuid, Stamp> stamps_;
};

} // namespace talkledger
