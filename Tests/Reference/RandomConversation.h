#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <random>
#include <string>
#include <vector>

namespace talkledger::reference {

/// An endless stream of results as no recogniser should give them: partial ones, corrections, echoes and ties of both
/// channels, in texts of several scripts with broken bytes, at times of any kind. The same for the same seed.
class RandomConversation {
public:
    explicit RandomConversation(unsigned seed) : random_(seed) {}

    int below(int bound);

    bool isOneIn(int chances) { return below(chances) == 0; }

    std::string text(int mostPieces);

    /// Nearly the same.
    std::string misheard(std::string text);

    TranscriptSegment nextSegment();

private:
    double startTime();
    double duration();

    std::mt19937 random_;
    double now_{0};
    std::vector<TranscriptSegment> spoken_;
};

} // namespace talkledger::reference
