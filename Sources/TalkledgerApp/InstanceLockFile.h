#pragma once

#include <filesystem>

namespace talkledger {

/// Marks the running copy of the program where there is no session bus. The lock goes with the process, however it
/// ends; the file stays.
class InstanceLockFile {
public:
    /// Tries to take the lock. Where the file cannot be had at all, nobody else can hold it either.
    explicit InstanceLockFile(const std::filesystem::path& path);
    InstanceLockFile(const InstanceLockFile&) = delete;
    InstanceLockFile& operator=(const InstanceLockFile&) = delete;
    ~InstanceLockFile();

    bool isHeldByAnotherProcess() const { return isHeldByAnotherProcess_; }

    /// In the user's runtime folder, else in a private folder below the one for temporary files.
    static std::filesystem::path defaultPath();

private:
    int descriptor_{-1};
    bool isHeldByAnotherProcess_{false};
};

} // namespace talkledger
