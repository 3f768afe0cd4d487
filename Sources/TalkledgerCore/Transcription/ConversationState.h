#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace talkledger {

/// The transcript of a recording in progress, assembled from the results of both channels: a final one supersedes the
/// hypothesis of its speaker, and corrects an earlier final one of the same start. Blank segments are never stored, and
/// what is stored has no white space at its ends. A plain value; applying a segment takes no longer for a longer state.
class ConversationState {
public:
    /// A speaker has one hypothesis at a time, whatever its start.
    struct PartialSegmentKey {
        AudioChannel channel{AudioChannel::mic};
        SpeakerRole role{SpeakerRole::me};

        auto operator<=>(const PartialSegmentKey&) const = default;
    };

    /// Where a segment has been stored.
    struct Place {
        PartialSegmentKey key;
        std::optional<std::size_t> finalPosition; ///< in `finalSegments`; absent for a partial segment
    };

    ConversationState() = default;

    /// The status of each segment follows the list that it is in.
    ConversationState(const std::vector<TranscriptSegment>& finalSegments,
                      const std::vector<TranscriptSegment>& partialSegments);

    /// Absent for a blank segment, which changes nothing.
    std::optional<Place> apply(const TranscriptSegment& segment);

    /// For a definitive transcript in place of everything so far.
    void replaceFinalTranscript(const TranscriptDocument& transcript);

    /// All segments in the order of the transcript; at a full tie the final ones come first.
    TranscriptDocument liveTranscript() const;

    /// The same without partial segments.
    TranscriptDocument stableTranscript() const;

    void reset();

    /// In the order in which they were first accepted.
    const std::vector<TranscriptSegment>& finalSegments() const { return finalSegments_; }

    const std::map<PartialSegmentKey, TranscriptSegment>& partialSegments() const { return partialSegments_; }

    bool operator==(const ConversationState& other) const {
        return finalSegments_ == other.finalSegments_ && partialSegments_ == other.partialSegments_;
    }

private:
    struct FinalSegmentKey {
        PartialSegmentKey speaker;
        double startTime{0};

        bool operator==(const FinalSegmentKey&) const = default;
    };

    struct FinalSegmentHash {
        std::size_t operator()(const FinalSegmentKey& key) const { return std::hash<double>()(key.startTime); }
    };

    void appendFinal(TranscriptSegment segment);
    std::size_t storeFinal(TranscriptSegment segment);

    std::vector<TranscriptSegment> finalSegments_;
    std::map<PartialSegmentKey, TranscriptSegment> partialSegments_;
    /// The first position of each; a start that is no number equals none and is not in here.
    std::unordered_map<FinalSegmentKey, std::size_t, FinalSegmentHash> finalPositions_;
};

} // namespace talkledger
