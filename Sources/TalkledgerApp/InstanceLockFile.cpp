#include "TalkledgerApp/InstanceLockFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <cerrno>
#include <string>
#include <system_error>

namespace talkledger {
namespace {

constexpr const char* fileName = "talkledger.lock";

/// The user's own, closed to others, and no link to somewhere else.
bool isPrivateFolder(const std::filesystem::path& folder) {
    struct stat status {};

    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::getuid() &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace

InstanceLockFile::InstanceLockFile(const std::filesystem::path& path) {
    if (!isPrivateFolder(path.parent_path())) {
        return;
    }
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    isHeldByAnotherProcess_ = descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::filesystem::path InstanceLockFile::defaultPath() {
    const std::filesystem::path runtimeFolder = qgetenv("XDG_RUNTIME_DIR").toStdString();
    if (runtimeFolder.is_absolute()) {
        return runtimeFolder / fileName;
    }
    std::error_code failure;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path(failure) / ("talkledger-" + std::to_string(::getuid()));
    ::mkdir(folder.c_str(), S_IRWXU);
    return folder / fileName;
}

InstanceLockFile::~InstanceLockFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

} // namespace talkledger
