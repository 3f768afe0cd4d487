#pragma once

#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerPlatform/Files/UserFolders.h"

namespace talkledger {

/// The files of this machine. A write goes to a hidden temporary file of the same folder, which replaces the target
/// once it is on disk; a failed one leaves the target as it was and no temporary file. Only regular files are read, so
/// that no pipe or device can hold a reader up.
///
/// Error texts name the file, the system's reason and what to do. Holds no state that changes: any thread may call.
class PosixFileSystem final : public FileSystem {
public:
    explicit PosixFileSystem(UserFolders userFolders = UserFolders::fromEnvironment());

    bool fileExists(const std::filesystem::path& path) const noexcept override;
    bool isSymbolicLink(const std::filesystem::path& path) const noexcept override;
    std::optional<std::int64_t> fileSize(const std::filesystem::path& path) const noexcept override;
    void createDirectory(const std::filesystem::path& path) override;
    std::vector<std::filesystem::path> contentsOfDirectory(const std::filesystem::path& path) const override;
    std::string readFile(const std::filesystem::path& path, std::int64_t maximumBytes) const override;
    void writeFileAtomically(const std::filesystem::path& path, std::string_view content) override;
    void createEmptyFile(const std::filesystem::path& path) override;
    void removeFile(const std::filesystem::path& path) override;
    std::filesystem::path applicationSupportDirectory() override;
    std::filesystem::path documentsDirectory() override;

private:
    UserFolders userFolders_;
};

} // namespace talkledger
