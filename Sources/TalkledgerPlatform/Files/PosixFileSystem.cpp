#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include "TalkledgerPlatform/Files/Durability.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <random>
#include <system_error>
#include <utility>

namespace talkledger {

namespace {

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;

std::string_view remedy(int errorNumber) {
    switch (errorNumber) {
    case ENOSPC:
    case EDQUOT:
        return "Make room on that disk and try again.";
    case EACCES:
    case EPERM:
        return "Change the rights of the file or its folder, or choose another folder.";
    case EROFS:
        return "Choose a folder on a disk that can be written to.";
    case ENOENT:
        return "Check that the file or folder is still there.";
    case ENOTDIR:
    case EEXIST:
    case EISDIR:
        return "Move away what stands in its place.";
    case ENAMETOOLONG:
        return "Choose a shorter name.";
    case EFBIG:
        return "Raise the limit on the size of files, or choose another disk.";
    case ELOOP:
        return "Replace the symbolic link by a real file or folder.";
    case EMFILE:
    case ENFILE:
        return "Close other programs and try again.";
    default:
        return "Check the disk and try again.";
    }
}

FileSystemError failure(std::string_view action, const std::filesystem::path& path, std::string_view reason,
                        std::string_view advice) {
    std::string text = "Cannot ";
    text.append(action).append(" \"").append(path.native()).append("\": ");
    text.append(reason).append(". ").append(advice);
    return FileSystemError(text);
}

/// Of the last system call.
FileSystemError systemFailure(std::string_view action, const std::filesystem::path& path) {
    const int errorNumber = errno;
    return failure(action, path, std::generic_category().message(errorNumber), remedy(errorNumber));
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor() {
        if (isOpen()) {
            ::close(number_);
        }
    }

    bool isOpen() const { return number_ >= 0; }

    int number() const { return number_; }

private:
    int number_;
};

int openFile(const std::filesystem::path& path, int flags) {
    return uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, fileMode); });
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

void keepNamesOf(const std::filesystem::path& folder) {
    errno = synchroniseFolder(folder);
    if (errno != 0) {
        throw systemFailure("save the folder", folder);
    }
}

/// Removes its file unless that was kept.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& folder)
        : path_(folder / unusedName()), descriptor_(openFile(path_, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW)) {}

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile() {
        if (descriptor_.isOpen() && !isKept_) {
            ::unlink(path_.c_str());
        }
    }

    bool isOpen() const { return descriptor_.isOpen(); }

    /// False with `errno` set.
    bool write(std::string_view content) {
        while (!content.empty()) {
            const ssize_t written =
                uninterrupted([&] { return ::write(descriptor_.number(), content.data(), content.size()); });
            if (written < 0) {
                return false;
            }
            content.remove_prefix(static_cast<std::size_t>(written));
        }
        return uninterrupted([&] { return ::fsync(descriptor_.number()); }) == 0;
    }

    bool renameTo(const std::filesystem::path& target) {
        isKept_ = ::rename(path_.c_str(), target.c_str()) == 0;
        return isKept_;
    }

private:
    static std::string unusedName() {
        std::random_device random;
        std::array<char, 64> name{};
        std::snprintf(name.data(), name.size(), ".talkledger-%08x%08x.tmp", random(), random());
        return name.data();
    }

    std::filesystem::path path_;
    Descriptor descriptor_;
    bool isKept_{false};
};

/// True when it was made, false when it was there.
bool makeFolder(const std::filesystem::path& path) {
    if (::mkdir(path.c_str(), folderMode) == 0) {
        return true;
    }
    const int errorNumber = errno;
    std::error_code ignored;
    if (errorNumber == EEXIST && std::filesystem::is_directory(path, ignored)) {
        return false;
    }
    errno = errorNumber;
    throw systemFailure("create the folder", path);
}

} // namespace

PosixFileSystem::PosixFileSystem(UserFolders userFolders) : userFolders_(std::move(userFolders)) {}

bool PosixFileSystem::fileExists(const std::filesystem::path& path) const noexcept {
    struct stat status {};

    return ::stat(path.c_str(), &status) == 0;
}

bool PosixFileSystem::isSymbolicLink(const std::filesystem::path& path) const noexcept {
    struct stat status {};

    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::optional<std::int64_t> PosixFileSystem::fileSize(const std::filesystem::path& path) const noexcept {
    struct stat status {};

    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_size;
}

void PosixFileSystem::createDirectory(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        return;
    }
    const std::filesystem::path folder = path.has_filename() ? path : path.parent_path();
    if (folder.has_parent_path()) {
        createDirectory(folder.parent_path());
    }
    if (makeFolder(folder)) {
        keepNamesOf(folderOf(folder));
    }
}

std::vector<std::filesystem::path> PosixFileSystem::contentsOfDirectory(const std::filesystem::path& path) const {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), &::closedir);
    if (!folder) {
        throw systemFailure("list the folder", path);
    }
    std::vector<std::filesystem::path> entries;
    errno = 0;
    while (const dirent* entry = ::readdir(folder.get())) { // NOLINT(concurrency-mt-unsafe): the stream is our own
        if (entry->d_name[0] != '.') {
            entries.push_back(path / entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throw systemFailure("list the folder", path);
    }
    return entries;
}

std::string PosixFileSystem::readFile(const std::filesystem::path& path, std::int64_t maximumBytes) const {
    // Without O_NONBLOCK, opening a pipe would wait for a writer.
    const Descriptor descriptor(openFile(path, O_RDONLY | O_NONBLOCK));

    struct stat status {};

    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0) {
        throw systemFailure("read the file", path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw failure("read the file", path, "it is no regular file", "Move away what stands in its place.");
    }
    const auto limit = static_cast<std::size_t>(std::max<std::int64_t>(maximumBytes, 0));
    auto size = static_cast<std::size_t>(status.st_size);
    std::string content;
    std::size_t filled = 0;
    while (size <= limit) {
        // The byte more than expected tells a file that has ended from one that has grown.
        content.resize(size + 1);
        const ssize_t count = uninterrupted(
            [&] { return ::read(descriptor.number(), content.data() + filled, content.size() - filled); });
        if (count < 0) {
            throw systemFailure("read the file", path);
        }
        if (count == 0) {
            content.resize(filled);
            return content;
        }
        filled += static_cast<std::size_t>(count);
        if (filled > size) {
            size = std::max(filled, std::min(filled * 2, limit));
        }
    }
    throw failure("read the file", path, "it is larger than " + std::to_string(limit) + " bytes",
                  "Move it to another place.");
}

void PosixFileSystem::writeFileAtomically(const std::filesystem::path& path, std::string_view content) {
    TemporaryFile temporary(folderOf(path));
    if (!temporary.isOpen() || !temporary.write(content) || !temporary.renameTo(path)) {
        throw systemFailure("write the file", path);
    }
    keepNamesOf(folderOf(path));
}

void PosixFileSystem::createEmptyFile(const std::filesystem::path& path) {
    const Descriptor descriptor(openFile(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK));
    if (!descriptor.isOpen()) {
        throw systemFailure("create the file", path);
    }
}

void PosixFileSystem::removeFile(const std::filesystem::path& path) {
    if (::unlink(path.c_str()) != 0) {
        throw systemFailure("remove the file", path);
    }
}

std::filesystem::path PosixFileSystem::applicationSupportDirectory() {
    createDirectory(userFolders_.dataHome);
    return userFolders_.dataHome;
}

std::filesystem::path PosixFileSystem::documentsDirectory() {
    constexpr std::int64_t maximumBytes = 65536;
    const std::filesystem::path userDirectories = userFolders_.configHome / "user-dirs.dirs";
    std::filesystem::path documents =
        userFolders_.documents(fileExists(userDirectories) ? readFile(userDirectories, maximumBytes) : std::string());
    createDirectory(documents);
    return documents;
}

} // namespace talkledger
