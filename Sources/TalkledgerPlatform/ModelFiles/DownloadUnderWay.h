#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerCore/Support/Task.h"

#include <exception>
#include <memory>
#include <vector>

namespace talkledger {

/// A download, and those who wait for its end, who may hold it somewhat longer. Main executor.
class DownloadUnderWay {
public:
    explicit DownloadUnderWay(std::shared_ptr<ModelFileProgress> progress);
    ~DownloadUnderWay();
    DownloadUnderWay(const DownloadUnderWay&) = delete;
    DownloadUnderWay& operator=(const DownloadUnderWay&) = delete;

    /// What has arrived is kept.
    void pause();

    bool hasEnded() const { return hasEnded_; }

    /// Returns when the file is installed, and throws what the download does.
    Task<void> end();

    /// Null when the file is installed.
    void tellEnd(const std::exception_ptr& failure);

private:
    class Wait;

    std::shared_ptr<ModelFileProgress> progress_;
    bool hasEnded_{false};
    std::vector<std::weak_ptr<Wait>> waits_; ///< weak: a wait ends with the coroutine that waits
};

} // namespace talkledger
