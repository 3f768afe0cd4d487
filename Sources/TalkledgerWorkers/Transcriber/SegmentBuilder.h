#pragma once

#include "TalkledgerWorkers/Transcriber/HeardWord.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <span>
#include <vector>

namespace talkledger {

/// The words as one segment; there has to be one at least.
SpeechSegment joinedWords(std::span<const HeardWord> words);

/// Joins words into segments: a pause ends a segment, and one that grows too long is cut at its widest gap.
class SegmentBuilder {
public:
    static constexpr double pause = 0.7;         ///< seconds
    static constexpr double longestSegment = 12; ///< seconds
    static constexpr double shortestCut = 3;     ///< seconds that a cut leaves on its left side at least

    explicit SegmentBuilder(SpeechSegmentHandler handler);

    /// Words come in the order of their times.
    void append(const HeardWord& word);

    /// Nothing more will be said before `time`.
    void advance(double time);

    void finish();

    /// Forgets the words that have not become a segment.
    void clear() { words_.clear(); }

    /// The words of the segment that is being joined.
    const std::vector<HeardWord>& pending() const { return words_; }

private:
    void emit(std::size_t count);
    std::size_t widestGap() const;

    SpeechSegmentHandler handler_;
    std::vector<HeardWord> words_;
};

} // namespace talkledger
