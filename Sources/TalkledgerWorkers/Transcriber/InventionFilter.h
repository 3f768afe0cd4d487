#pragma once

#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"
#include "TalkledgerWorkers/Transcriber/WhisperModel.h"

#include <string>
#include <vector>

namespace talkledger {

/// Whether the same words come again and again, as an engine says them that is caught in a loop.
bool isLoop(const std::string& text);

/// Drops passages that the evidence speaks against, and counts them. Used by one thread.
class InventionFilter {
public:
    std::vector<WhisperPassage> believable(std::vector<WhisperPassage> passages);

    const CaughtInventions& caught() const { return caught_; }

private:
    bool isInvented(const WhisperPassage& passage);

    CaughtInventions caught_;
};

} // namespace talkledger
