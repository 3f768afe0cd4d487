#pragma once

#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"
#include "TalkledgerWorkers/Transcriber/EngineShelf.h"

#include <functional>
#include <stop_token>

namespace talkledger {

using TranscriberMessageHandler = std::function<void(const MessageFromTranscriber&)>;

/// Does one request from its beginning to its end on the calling thread, and tells `report` about it: that the file
/// could be opened, results and progress, and at last whether it finished or failed. A stop request ends it within a
/// few blocks of samples; then no results are reported any more.
void transcribeFile(const TranscribeFile& request, EngineShelf& engines, const std::stop_token& stop,
                    const TranscriberMessageHandler& report);

} // namespace talkledger
