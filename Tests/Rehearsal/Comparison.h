#pragma once

#include "Rehearsal/Performance.h"

#include <cstddef>
#include <optional>
#include <string>

/// How what came out is held against what was put in.
namespace talkledger::rehearsal {

/// Where `passage` stands in `track` sample for sample; absent when it does not.
std::optional<std::size_t> findExactly(const Samples& track, const Samples& passage);

struct Correlation {
    double position{0};    ///< of the best match's first frame, in frames and fractions of one
    double coefficient{0}; ///< 1 for the same shape, 0 for none
};

/// Where `sound` stands in `track` by its shape, searched from frame `from` to frame `to`.
Correlation correlate(const Samples& track, const Samples& sound, std::size_t from, std::size_t to);

/// The share of the words of `spoken` that stand in `written` in the same order, whatever their case and punctuation.
double shareOfWords(const std::string& spoken, const std::string& written);

} // namespace talkledger::rehearsal
