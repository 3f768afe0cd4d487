#include "TalkledgerPlatform/Files/Durability.h"

#include <fcntl.h>
#include <unistd.h>

namespace talkledger {
namespace {

int synchronise(const std::filesystem::path& path, int flags) {
    const int descriptor = uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC | flags); });
    if (descriptor < 0) {
        return errno;
    }
    const int error = uninterrupted([&] { return fsync(descriptor); }) < 0 ? errno : 0;
    close(descriptor);
    return error;
}

} // namespace

int synchroniseFile(const std::filesystem::path& file) {
    return synchronise(file, O_NOFOLLOW);
}

int synchroniseFolder(const std::filesystem::path& folder) {
    const int error = synchronise(folder, O_DIRECTORY);
    return error == EINVAL ? 0 : error; // some file systems take no fsync of a folder
}

} // namespace talkledger
