#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerPlatform/ModelFiles/DownloadUnderWay.h"
#include "TalkledgerPlatform/ModelFiles/ModelDownload.h"

#include <boost/asio/thread_pool.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace talkledger {

/// The model files in one folder of this user. What is there of a file that has not
/// wholly arrived has ".part" behind its name. Nothing that takes time is done on the caller's
/// thread.
/// The executors that wait for it have to outlive it.
class ModelFolder final : public ModelFiles, public AwaitedModelFiles {
public:
    /// `checking` has to outlive it.
    ModelFolder(std::filesystem::path folder, ModelFileChecking& checking, DownloadHosts hosts = DownloadHosts::secure);

    /// Downloads under way are paused: what has arrived of them is kept.
    ~ModelFolder() override;
    ModelFolder(const ModelFolder&) = delete;
    ModelFolder& operator=(const ModelFolder&) = delete;

    std::vector<std::string> installed(ModelFileKind kind) const override;
    Task<void> download(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) override;
    Task<ModelFileKind> install(std::filesystem::path file) override;
    void prefer(const std::string& name) override;
    Task<void> remove(std::string name) override;

    std::vector<AwaitedModelFile> awaited(ModelFileKind kind) const override;
    Task<void> arrival(std::string name) override;

private:
    const std::filesystem::path folder_;
    ModelFileChecking& checking_;
    const DownloadHosts hosts_;
    std::map<std::string, std::weak_ptr<DownloadUnderWay>> downloads_; ///< weak: it ends with its coroutine
    boost::asio::thread_pool transfers_;
    boost::asio::thread_pool chores_; ///< of their own, so that they do not wait for downloads
};

} // namespace talkledger
