#include "Reference/RandomConversation.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace talkledger::reference {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

constexpr std::array pieces{"a",        "b",
                            "A",        "ab ",
                            " ",        "。",
                            "予",       "算",
                            "か\u3099", "ｶﾞ",
                            "\r\n",     "\u3000",
                            "\u0301",   "👨‍👩‍👧",
                            "🇯🇵",       "\xFF",
                            "Σ",        "İ",
                            "ß",        "\u200D",
                            "e\u0301",  "\u1112\u1161",
                            "नि",       "…",
                            "１",       "OK "};

} // namespace

int RandomConversation::below(int bound) {
    return std::uniform_int_distribution<int>(0, bound - 1)(random_);
}

std::string RandomConversation::text(int mostPieces) {
    std::string text;
    for (int count = below(mostPieces + 1); count > 0; --count) {
        text += pieces[static_cast<std::size_t>(below(static_cast<int>(pieces.size())))];
    }
    return text;
}

std::string RandomConversation::misheard(std::string text) {
    for (int count = below(3); count > 0 && !text.empty(); --count) {
        text[static_cast<std::size_t>(below(static_cast<int>(text.size())))] = 'b';
    }
    return text;
}

TranscriptSegment RandomConversation::nextSegment() {
    now_ += below(4) / 2.0;
    TranscriptSegment segment(isOneIn(2) ? AudioChannel::mic : AudioChannel::speaker, SpeakerRole::me, startTime(),
                              duration(), text(isOneIn(10) ? 200 : 25),
                              isOneIn(3) ? TranscriptSegmentStatus::final : TranscriptSegmentStatus::partial);
    if (!spoken_.empty() && !isOneIn(3)) {
        const auto furthest = static_cast<int>(std::min<std::size_t>(spoken_.size(), isOneIn(8) ? spoken_.size() : 4));
        const TranscriptSegment& earlier = spoken_[spoken_.size() - 1 - static_cast<std::size_t>(below(furthest))];
        segment.text = isOneIn(3) ? earlier.text + text(5) : misheard(earlier.text);
        if (!isOneIn(3)) {
            segment.startTime = earlier.startTime;
        }
    }
    if (isOneIn(40)) {
        segment.role = SpeakerRole::customer;
    }
    spoken_.push_back(segment);
    return segment;
}

double RandomConversation::startTime() {
    switch (below(60)) {
    case 0:
        return unknown;
    case 1:
        return isOneIn(2) ? endless : -endless;
    case 2:
        return isOneIn(2) ? 0.0 : -0.0;
    case 3:
        return isOneIn(2) ? 1e300 : -3;
    case 4:
        return below(static_cast<int>(now_) + 1);
    default:
        return now_;
    }
}

double RandomConversation::duration() {
    switch (below(40)) {
    case 0:
        return unknown;
    case 1:
        return isOneIn(2) ? endless : -endless;
    case 2:
        return below(200);
    case 3:
        return -1;
    default:
        return below(8) / 2.0;
    }
}

} // namespace talkledger::reference
