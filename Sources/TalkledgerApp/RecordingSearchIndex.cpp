#include "TalkledgerApp/RecordingSearchIndex.h"

#include "TalkledgerApp/StoredDocument.h"

#include <set>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

/// Of more recordings the hits are not counted: that would read all of their texts at each keystroke.
constexpr std::size_t mostCounted = 200;

/// Beside the title, which is marked itself.
constexpr std::size_t mostSnippets = 2;

std::filesystem::file_time_type timeOf(const std::filesystem::path& file) {
    std::error_code missing;
    const auto time = std::filesystem::last_write_time(file, missing);
    return missing ? std::filesystem::file_time_type() : time;
}

} // namespace

RecordingSearchIndex::Stamp RecordingSearchIndex::stampOf(const RecordingSession& session, const AppCopy& copy) {
    return {.session = session,
            .copy = copy,
            .written = {timeOf(session.artifacts.transcript), timeOf(session.artifacts.summary)}};
}

bool RecordingSearchIndex::update(const std::vector<RecordingSession>& sessions, const AppCopy& copy) {
    const unsigned update = ++updates_;
    std::set<boost::uuids::uuid> there;
    for (const RecordingSession& session : sessions) {
        there.insert(session.id);
    }
    {
        const std::lock_guard guard(lock_);
        std::erase_if(stamps_, [&](const auto& entry) {
            const bool isGone = !there.contains(entry.first);
            if (isGone) {
                search_.remove(entry.first);
            }
            return isGone;
        });
    }
    for (const RecordingSession& session : sessions) {
        if (updates_ != update) {
            return false;
        }
        const Stamp stamp = stampOf(session, copy);
        {
            const std::lock_guard guard(lock_);
            if (const auto known = stamps_.find(session.id); known != stamps_.end() && known->second == stamp) {
                continue;
            }
        }
        const std::vector<RecordingSearchPlace> places = read(session, copy);
        const std::lock_guard guard(lock_);
        search_.set(session.id, session.startedAt, places);
        stamps_.insert_or_assign(session.id, stamp);
    }
    return true;
}

RecordingSearchIndex::Result RecordingSearchIndex::search(const RecordingSearchQuery& query, std::size_t most) const {
    Result result;
    std::vector<std::pair<Found, AppCopy>> found;
    {
        const std::lock_guard guard(lock_);
        const std::vector<boost::uuids::uuid> ids = search_.search(query);
        result.recordingCount = ids.size();
        if (ids.size() <= mostCounted) {
            result.hitCount = 0;
        }
        for (const boost::uuids::uuid& id : ids) {
            if (found.size() >= most && !result.hitCount) {
                break;
            }
            const std::size_t hitCount = search_.hitCount(id, query);
            if (result.hitCount) {
                *result.hitCount += hitCount;
            }
            if (found.size() < most) {
                const Stamp& stamp = stamps_.at(id);
                found.push_back({{.session = stamp.session, .hitCount = hitCount, .hits = {}}, stamp.copy});
            }
        }
    }
    for (auto& [match, copy] : found) {
        std::vector<RecordingSearchPlace> titles;
        std::vector<RecordingSearchPlace> others;
        for (RecordingSearchPlace& place : read(match.session, copy)) {
            (place.source == RecordingSearchSource::title ? titles : others).push_back(std::move(place));
        }
        match.hits = searchHits(others, query, mostSnippets);
        if (match.hits.empty()) {
            match.hits = searchHits(titles, query, 1);
        }
        result.found.push_back(std::move(match));
    }
    return result;
}

std::vector<RecordingSearchPlace> RecordingSearchIndex::read(const RecordingSession& session,
                                                             const AppCopy& copy) const {
    return searchPlaces(session, storedDocument<TranscriptDocument>(fileSystem_, session.artifacts.transcript),
                        storedDocument<SalesSummary>(fileSystem_, session.artifacts.summary), copy);
}

} // namespace talkledger
