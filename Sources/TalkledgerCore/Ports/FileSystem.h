#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace talkledger {

/// A failed file operation: what was tried on which file, and the system's reason. Its `what()` is the user-visible
/// text.
class FileSystemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Files and folders of this user. Every operation throws `FileSystemError` unless it says otherwise; all may be called
/// from any thread. Folders are made private (0700), as are files (0600).
class FileSystem {
public:
    FileSystem() = default;
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;
    virtual ~FileSystem() = default;

    /// False also when it cannot be told. Never throws.
    virtual bool fileExists(const std::filesystem::path& path) const noexcept = 0;

    /// Whether the entry itself is a symbolic link; false also when it cannot be told. Never throws.
    virtual bool isSymbolicLink(const std::filesystem::path& path) const noexcept = 0;

    /// Bytes; absent when it cannot be told. Never throws.
    virtual std::optional<std::int64_t> fileSize(const std::filesystem::path& path) const noexcept = 0;

    /// With all missing parents; an existing folder is fine.
    virtual void createDirectory(const std::filesystem::path& path) = 0;

    /// Direct entries, hidden ones left out, in no particular order.
    virtual std::vector<std::filesystem::path> contentsOfDirectory(const std::filesystem::path& path) const = 0;

    /// Whole content; a file of more than `maximumBytes` is an error.
    virtual std::string readFile(const std::filesystem::path& path, std::int64_t maximumBytes) const = 0;

    /// Replaces the file whole: readers see the old or the new content, also after a power cut.
    virtual void writeFileAtomically(const std::filesystem::path& path, std::string_view content) = 0;

    /// A zero-byte file; an existing one is emptied.
    virtual void createEmptyFile(const std::filesystem::path& path) = 0;

    /// A missing file is an error.
    virtual void removeFile(const std::filesystem::path& path) = 0;

    /// The user's folder for programs' data and the folder for documents; created if missing.
    virtual std::filesystem::path applicationSupportDirectory() = 0;
    virtual std::filesystem::path documentsDirectory() = 0;
};

} // namespace talkledger
