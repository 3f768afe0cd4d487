#pragma once

#include <filesystem>

namespace talkledger {

/// An open file, closed by its destructor.
class FileDescriptor {
public:
    /// Creates `path`, or empties it, for its owner alone (0600). Throws AudioFileError.
    static FileDescriptor create(const std::filesystem::path& path);

    explicit FileDescriptor(int number) noexcept : number_(number) {}

    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int number() const { return number_; }

    /// Another one of the same open file, which lies at `path`. Throws AudioFileError.
    FileDescriptor duplicate(const std::filesystem::path& path) const;

    /// No folder holds the file any more: what is written to it is lost when it is closed.
    bool isRemoved() const noexcept;

private:
    int number_;
};

} // namespace talkledger
