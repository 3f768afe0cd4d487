#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Transcription/TranscriptDisplayGroup.h"
#include "TalkledgerCore/Transcription/TranscriptOrder.h"
#include "TalkledgerCore/Transcription/TranscriptTimelineBuilder.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace talkledger {

/// What has become of one line of a transcript. Changes hold one after another: `row` is the line's place once those
/// before it have been made, and the numbers of the lines behind it follow suit.
struct TranscriptLineChange {
    enum class Kind { inserted, replaced, removed };

    Kind kind{Kind::inserted};
    std::size_t row{0};
    TranscriptTimelineLine line; ///< as it is now; empty for a removed one

    bool operator==(const TranscriptLineChange&) const = default;
};

/// The lines of a transcript that is still changing. They are those that the timeline builder makes of the segments
/// shown; but a change costs only a look at the lines around it.
class LiveTimeline {
public:
    /// In place of what is shown at the same place.
    void show(const TranscriptPlace& place, const TranscriptSegment& segment);

    /// Nothing needs to be shown there.
    void hide(const TranscriptPlace& place);

    /// What the calls since the last time have made of the lines.
    std::vector<TranscriptLineChange> takeChanges();

    /// As if nothing had ever been shown; tells so.
    std::vector<TranscriptLineChange> clear();

    std::vector<TranscriptTimelineLine> lines() const;

private:
    struct Shown {
        TranscriptPlace place;
        std::optional<DisplaySegment> segment; ///< absent for one that has been hidden since the last changes
    };

    struct Group {
        TranscriptPlace first; ///< of its segments
        DisplayGroup group;
    };

    struct Line {
        TranscriptPlace first;          ///< of its segments
        TranscriptTimelineLine content; ///< all have the same number here
    };

    using ShownSegments = std::vector<std::unique_ptr<Shown>>;
    using Places = std::vector<TranscriptPlace>;

    void eraseHidden();
    std::size_t positionOf(const TranscriptPlace& place) const;
    ShownSegments::iterator iteratorTo(std::size_t position);
    bool isShownAt(std::size_t position, const TranscriptPlace& place) const;
    std::size_t rowNotBefore(const TranscriptPlace& place) const;
    bool beginsLine(const TranscriptPlace& place, std::size_t row) const;
    Places::const_iterator regroup(Places::const_iterator change, std::vector<TranscriptLineChange>& changes);
    void replaceLines(std::size_t firstRow, std::size_t endRow, const std::vector<Group>& groups,
                      std::vector<TranscriptLineChange>& changes);
    static void tellDifferences(std::size_t row, std::span<const Line> before, std::span<const Line> after,
                                std::vector<TranscriptLineChange>& changes);

    ShownSegments shown_; ///< in the order of the transcript
    std::vector<Line> lines_;
    Places changed_; ///< since the lines were made
};

} // namespace talkledger
