#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <vector>

namespace talkledger {

/// When something was said, in seconds, widened at both ends. A bound that is no number overlaps nothing.
struct TimeSpan {
    double low{0};
    double high{0};

    TimeSpan(const TranscriptSegment& segment, double tolerance)
        : low(segment.startTime - tolerance),
          high(segment.startTime + (segment.duration > 0 ? segment.duration : 0) + tolerance) {}

    /// Both are strict: spans that merely touch do not overlap.
    bool overlaps(const TimeSpan& other) const { return low < other.high && other.low < high; }

    bool isKnown() const { return !std::isnan(low) && !std::isnan(high); }
};

/// Finds what overlaps a span without a look at the rest. Spans of about the same length are kept together by their
/// beginnings; so a search looks only where a span of that length can overlap, and a very long one is in nobody's way.
template <typename Value>
class TimeSpanIndex {
public:
    /// Quick behind all others of its length.
    void insert(const TimeSpan& span, Value value) {
        if (span.isKnown()) {
            Entries& entries = entriesByLength_[lengthClass(span)];
            entries.insert(firstNotBefore(entries, span.low), Entry{span, value});
        }
    }

    void erase(const TimeSpan& span, Value value) {
        const auto group = entriesByLength_.find(lengthClass(span));
        if (group == entriesByLength_.end() || !span.isKnown()) {
            return;
        }
        Entries& entries = group->second;
        const auto found = std::find_if(firstNotBefore(entries, span.low), entries.end(),
                                        [&](const Entry& entry) { return entry.value == value; });
        if (found != entries.end()) {
            entries.erase(found);
        }
    }

    /// Calls `visit` with each value whose span overlaps, until it returns true; tells whether it did.
    template <typename Visit>
    bool anyOverlapping(const TimeSpan& span, const Visit& visit) const {
        for (const auto& [exponent, entries] : entriesByLength_) {
            const double longest = std::ldexp(1.0, exponent);
            // All before end too early, all behind begin too late. Rounding keeps the order of what is rounded, so that
            // no overlap is missed.
            auto entry = std::isinf(longest)
                             ? entries.begin()
                             : std::partition_point(entries.begin(), entries.end(), [&](const Entry& each) {
                                   return each.span.low + longest <= span.low;
                               });
            for (; entry != entries.end() && entry->span.low < span.high; ++entry) {
                if (entry->span.overlaps(span) && visit(entry->value)) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    struct Entry {
        TimeSpan span;
        Value value;
    };

    using Entries = std::vector<Entry>; ///< by their lows

    static constexpr int endless = std::numeric_limits<int>::max();

    /// The spans of a class are no longer than 2 to the power of it, in seconds.
    static int lengthClass(const TimeSpan& span) {
        const double length = span.high - span.low;
        if (!(length > 1)) {
            return 0;
        }
        if (std::isinf(length)) {
            return endless;
        }
        int exponent = 0;
        std::frexp(length, &exponent);
        return exponent;
    }

    static auto firstNotBefore(Entries& entries, double low) {
        return std::partition_point(entries.begin(), entries.end(),
                                    [low](const Entry& entry) { return entry.span.low < low; });
    }

    std::map<int, Entries> entriesByLength_;
};

} // namespace talkledger
