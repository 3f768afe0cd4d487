#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"
#include "TalkledgerCore/Support/Text.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Finding recordings by their titles, by what was said in them and by their summaries, whatever the case and the width
/// of the letters. A recording is found when every word of the query stands somewhere in it.
namespace talkledger {

enum class RecordingSearchSource { title, transcript, summary };

/// A text in which words can be found.
struct RecordingSearchPlace {
    RecordingSearchSource source{RecordingSearchSource::title};
    std::size_t line{0};  ///< of the transcript as it is shown
    std::string timecode; ///< of that line
    std::string text;

    bool operator==(const RecordingSearchPlace&) const = default;
};

/// What is found in a recording is what the screens show of it: both titles, if the list replaces the stored one.
std::vector<RecordingSearchPlace> searchPlaces(const RecordingSession& session,
                                               const std::optional<TranscriptDocument>& transcript,
                                               const std::optional<SalesSummary>& summary, const AppCopy& copy);

/// The words of what the user has typed, ready to be searched.
struct RecordingSearchQuery {
    std::vector<std::string> words;

    explicit RecordingSearchQuery(std::string_view typed = {});

    bool isEmpty() const { return words.empty(); }

    bool operator==(const RecordingSearchQuery&) const = default;
};

/// A place in which words were found, cut to what is around the first of them.
struct RecordingSearchHit {
    RecordingSearchSource source{RecordingSearchSource::title};
    std::size_t line{0};
    std::string timecode;
    std::string snippet;
    std::vector<text::Range> marks; ///< of the snippet, whole characters

    bool operator==(const RecordingSearchHit&) const = default;
};

/// The first places, up to `most`.
std::vector<RecordingSearchHit> searchHits(const std::vector<RecordingSearchPlace>& places,
                                           const RecordingSearchQuery& query, std::size_t most);

/// The index of all recordings. It holds each text in its searchable form, and beside it which pairs of letters occur,
/// so that a recording without the words is hardly looked at. No thread of its own; one at a time uses it.
class RecordingSearch {
public:
    /// Takes the place of what was known of that recording.
    void set(const boost::uuids::uuid& id, Date startedAt, const std::vector<RecordingSearchPlace>& places);
    void remove(const boost::uuids::uuid& id);

    /// The recordings that are found, newest first; none for a query without words.
    std::vector<boost::uuids::uuid> search(const RecordingSearchQuery& query) const;

    /// How often words of the query stand in a recording.
    std::size_t hitCount(const boost::uuids::uuid& id, const RecordingSearchQuery& query) const;

private:
    /// A set of the letters and the pairs of letters in a text that may hold more than was put in, but never less.
    class LetterPairs {
    public:
        explicit LetterPairs(std::u32string_view text);
        bool mayHold(std::u32string_view word) const;

    private:
        std::size_t place(char32_t letter, char32_t next) const;
        bool holds(std::size_t place) const;

        std::vector<std::uint64_t> bits_;
    };

    struct Entry {
        std::string text; ///< a line for each place
        LetterPairs pairs;

        bool holds(const std::string& word, std::u32string_view letters) const;
    };

    std::map<std::pair<Date, boost::uuids::uuid>, Entry, std::greater<>> entries_;
    std::map<boost::uuids::uuid, Date> starts_;
};

} // namespace talkledger
