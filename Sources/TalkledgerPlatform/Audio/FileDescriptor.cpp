#include "TalkledgerPlatform/Audio/FileDescriptor.h"

#include "TalkledgerPlatform/Audio/AudioFileError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace talkledger {

FileDescriptor FileDescriptor::create(const std::filesystem::path& path) {
    const int number = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (number < 0) {
        throw AudioFileError(AudioFileError::Case::notCreated, path, std::generic_category().message(errno));
    }
    return FileDescriptor(number);
}

FileDescriptor::~FileDescriptor() {
    if (number_ >= 0) {
        close(number_);
    }
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

FileDescriptor FileDescriptor::duplicate(const std::filesystem::path& path) const {
    const int number = fcntl(number_, F_DUPFD_CLOEXEC, 0);
    if (number < 0) {
        throw AudioFileError(AudioFileError::Case::notCreated, path, std::generic_category().message(errno));
    }
    return FileDescriptor(number);
}

bool FileDescriptor::isRemoved() const noexcept {
    struct stat status {};

    return fstat(number_, &status) == 0 && status.st_nlink == 0;
}

} // namespace talkledger
