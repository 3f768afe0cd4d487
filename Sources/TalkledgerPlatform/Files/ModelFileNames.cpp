#include "TalkledgerPlatform/Files/ModelFileNames.h"

#include <algorithm>
#include <functional>
#include <system_error>
#include <utility>

namespace talkledger {

std::optional<ModelFileKind> modelFileKind(const std::string& name) {
    if (name.ends_with(".gguf")) {
        return ModelFileKind::language;
    }
    if (!name.starts_with("ggml-") || !name.ends_with(".bin")) {
        return std::nullopt;
    }
    return name.starts_with("ggml-silero-") ? ModelFileKind::voice : ModelFileKind::speech;
}

std::vector<std::filesystem::path> modelFilesIn(const std::filesystem::path& folder, ModelFileKind kind) {
    std::vector<std::pair<std::filesystem::file_time_type, std::filesystem::path>> files;
    std::error_code unreadable;
    std::filesystem::directory_iterator entry(folder, unreadable);
    for (; !unreadable && entry != std::filesystem::directory_iterator(); entry.increment(unreadable)) {
        std::error_code unknown;
        if (modelFileKind(entry->path().filename().string()) == kind && entry->is_regular_file(unknown)) {
            files.emplace_back(entry->last_write_time(unknown), entry->path());
        }
    }
    std::ranges::sort(files, std::greater());
    std::vector<std::filesystem::path> paths;
    paths.reserve(files.size());
    for (auto& [time, path] : files) {
        paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace talkledger
