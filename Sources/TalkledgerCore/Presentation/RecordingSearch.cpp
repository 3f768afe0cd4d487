#include "TalkledgerCore/Presentation/RecordingSearch.h"

#include "TalkledgerCore/Presentation/RecordingListTitleBuilder.h"
#include "TalkledgerCore/Presentation/SalesSummarySections.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

namespace talkledger {

namespace {

/// What stands between two places; no word holds it.
constexpr char placeEnd = '\n';

/// A snippet begins at most so many characters before what was found.
constexpr std::size_t leadCharacters = 16;
constexpr std::size_t snippetCharacters = 96;
constexpr std::string_view ellipsis = "…";

RecordingSearchHit hitIn(const RecordingSearchPlace& place, std::vector<text::Range> marks) {
    RecordingSearchHit hit{.source = place.source,
                           .line = place.line,
                           .timecode = place.timecode,
                           .snippet = {},
                           .marks = std::move(marks)};
    const std::string before = place.text.substr(0, hit.marks.front().begin);
    const std::string lead = text::suffix(before, leadCharacters);
    const std::size_t skipped = before.size() - lead.size();
    const std::string shown = text::prefix(std::string_view(place.text).substr(skipped), snippetCharacters);
    hit.snippet = (skipped > 0 ? std::string(ellipsis) : std::string()) + shown;
    const std::size_t prefixed = hit.snippet.size() - shown.size();
    std::erase_if(hit.marks, [&](const text::Range& mark) { return mark.begin - skipped >= shown.size(); });
    for (text::Range& mark : hit.marks) {
        mark.begin += prefixed - skipped;
        mark.end = std::min(mark.end + prefixed - skipped, hit.snippet.size());
    }
    return hit;
}

} // namespace

std::vector<RecordingSearchPlace> searchPlaces(const RecordingSession& session,
                                               const std::optional<TranscriptDocument>& transcript,
                                               const std::optional<SalesSummary>& summary, const AppCopy& copy) {
    std::vector<RecordingSearchPlace> places;
    const auto add = [&](RecordingSearchSource source, const std::string& text, std::size_t line = 0,
                         std::string timecode = {}) {
        places.push_back(
            {.source = source, .line = line, .timecode = std::move(timecode), .text = text::validated(text)});
    };
    const RecordingListTitleBuilder titles{.maxLength = RecordingListTitleBuilder::editorMaxLength};
    add(RecordingSearchSource::title, titles.title(session, summary, copy));
    if (const std::string own = copy.sessionTitle(session.title); own != places.front().text) {
        add(RecordingSearchSource::title, own);
    }
    for (const TranscriptTimelineLine& line :
         TranscriptTimelineBuilder().buildLines(transcript.value_or(TranscriptDocument()))) {
        add(RecordingSearchSource::transcript, line.text, line.id, line.timecode);
    }
    for (const SalesSummarySection& section : salesSummarySections(summary.value_or(SalesSummary()), copy)) {
        for (const std::string& entry : section.entries) {
            add(RecordingSearchSource::summary, entry);
        }
    }
    return places;
}

RecordingSearchQuery::RecordingSearchQuery(std::string_view typed)
    : words(text::split(text::searchable(typed), " \t\r\n")) {
    std::ranges::sort(words);
    words.erase(std::unique(words.begin(), words.end()), words.end());
}

std::vector<RecordingSearchHit> searchHits(const std::vector<RecordingSearchPlace>& places,
                                           const RecordingSearchQuery& query, std::size_t most) {
    std::vector<RecordingSearchHit> hits;
    for (const RecordingSearchPlace& place : places) {
        if (hits.size() == most) {
            break;
        }
        if (std::vector<text::Range> marks = text::occurrencesInShown(place.text, query.words); !marks.empty()) {
            hits.push_back(hitIn(place, std::move(marks)));
        }
    }
    return hits;
}

void RecordingSearch::set(const boost::uuids::uuid& id, Date startedAt,
                          const std::vector<RecordingSearchPlace>& places) {
    remove(id);
    std::string text;
    for (const RecordingSearchPlace& place : places) {
        std::string searchable = text::searchable(place.text);
        std::ranges::replace(searchable, placeEnd, ' ');
        text.append(searchable).push_back(placeEnd);
    }
    text.shrink_to_fit();
    LetterPairs pairs(text::scalars(text));
    starts_[id] = startedAt;
    entries_.insert_or_assign({startedAt, id}, Entry{.text = std::move(text), .pairs = std::move(pairs)});
}

void RecordingSearch::remove(const boost::uuids::uuid& id) {
    if (const auto start = starts_.find(id); start != starts_.end()) {
        entries_.erase({start->second, id});
        starts_.erase(start);
    }
}

std::vector<boost::uuids::uuid> RecordingSearch::search(const RecordingSearchQuery& query) const {
    std::vector<boost::uuids::uuid> found;
    if (query.isEmpty()) {
        return found;
    }
    std::vector<std::u32string> letters;
    std::ranges::transform(query.words, std::back_inserter(letters),
                           [](const std::string& word) { return text::scalars(word); });
    for (const auto& [key, entry] : entries_) {
        bool holdsAll = true;
        for (std::size_t word = 0; holdsAll && word < letters.size(); ++word) {
            holdsAll = entry.holds(query.words[word], letters[word]);
        }
        if (holdsAll) {
            found.push_back(key.second);
        }
    }
    return found;
}

std::size_t RecordingSearch::hitCount(const boost::uuids::uuid& id, const RecordingSearchQuery& query) const {
    const auto start = starts_.find(id);
    return start == starts_.end() ? 0 : text::occurrences(entries_.at({start->second, id}).text, query.words).size();
}

bool RecordingSearch::Entry::holds(const std::string& word, std::u32string_view letters) const {
    return pairs.mayHold(letters) && text.find(word) != std::string::npos;
}

RecordingSearch::LetterPairs::LetterPairs(std::u32string_view text) {
    constexpr std::size_t bitsPerLetter = 4;
    constexpr std::size_t fewestBits = 256;
    constexpr std::size_t mostBits = 32768;
    constexpr std::size_t bitsPerWord = 64;
    bits_.resize(std::clamp(std::bit_ceil(bitsPerLetter * text.size()), fewestBits, mostBits) / bitsPerWord);
    const auto put = [this](std::size_t place) {
        bits_[place / bitsPerWord] |= std::uint64_t{1} << place % bitsPerWord;
    };
    for (std::size_t index = 0; index < text.size(); ++index) {
        put(place(text[index], U'\0'));
        if (index + 1 < text.size()) {
            put(place(text[index], text[index + 1]));
        }
    }
}

bool RecordingSearch::LetterPairs::mayHold(std::u32string_view word) const {
    if (word.size() == 1) {
        return holds(place(word.front(), U'\0'));
    }
    for (std::size_t index = 0; index + 1 < word.size(); ++index) {
        if (!holds(place(word[index], word[index + 1]))) {
            return false;
        }
    }
    return true;
}

std::size_t RecordingSearch::LetterPairs::place(char32_t letter, char32_t next) const {
    // Two odd numbers without a pattern, so that neighbours in the alphabet do not share places.
    const std::uint64_t mixed =
        letter * std::uint64_t{0x9E37'79B9'7F4A'7C15} ^ next * std::uint64_t{0xC2B2'AE3D'27D4'EB4F};
    return static_cast<std::size_t>((mixed ^ mixed >> 29) * std::uint64_t{0xBF58'476D'1CE4'E5B9} >> 32) %
           (bits_.size() * 64);
}

bool RecordingSearch::LetterPairs::holds(std::size_t place) const {
    return (bits_[place / 64] >> place % 64 & 1) != 0;
}

} // namespace talkledger
