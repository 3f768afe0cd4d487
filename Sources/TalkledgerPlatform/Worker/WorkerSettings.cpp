#include "TalkledgerPlatform/Worker/WorkerSettings.h"

#include <system_error>

namespace talkledger {

std::filesystem::path workerProgram(std::string_view name) {
    std::error_code unknown;
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path();
    std::filesystem::path beside = folder / name;
    if (std::filesystem::exists(beside, unknown)) {
        return beside;
    }
    return folder.parent_path() / "libexec" / "talkledger" / name;
}

} // namespace talkledger
