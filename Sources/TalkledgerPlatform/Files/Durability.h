#pragma once

#include <cerrno>
#include <filesystem>

/// What brings files to the disk itself, for the case of a power cut. Blocks; any thread.
namespace talkledger {

/// The result of a system call, which is repeated as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Makes the content of a file durable: an errno value, or 0.
int synchroniseFile(const std::filesystem::path& file);

/// Makes the names of a folder durable, those that were created, renamed or removed there: an errno value, or 0.
int synchroniseFolder(const std::filesystem::path& folder);

} // namespace talkledger
