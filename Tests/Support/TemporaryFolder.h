#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace talkledger::testing {

/// A folder of a test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = std::filesystem::canonical(std::filesystem::temp_directory_path()) / "talkledger-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("No temporary folder can be made.");
        }
        path_ = pattern;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace talkledger::testing
