#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"

#include "TalkledgerCore/Support/RunOn.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <functional>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

using Case = ModelFileError::Case;

constexpr std::size_t simultaneousTransfers = 2;
constexpr std::uintmax_t spareBytes = 64 << 20;

std::optional<ModelFileKind> kindOf(const std::string& name) {
    if (name.ends_with(".gguf")) {
        return ModelFileKind::language;
    }
    if (!name.starts_with("ggml-") || !name.ends_with(".bin")) {
        return std::nullopt;
    }
    return name.starts_with("ggml-silero-") ? ModelFileKind::voice : ModelFileKind::speech;
}

/// By what the file begins with.
ModelFileKind examine(const std::filesystem::path& file) {
    std::array<char, 4> head{};
    std::error_code unknown;
    if (std::filesystem::is_regular_file(file, unknown)) { // reading anything else may never end
        std::ifstream(file, std::ios::binary).read(head.data(), head.size());
    }
    const std::string_view magic(head.data(), head.size());
    if (magic == "GGUF") {
        return ModelFileKind::language;
    }
    if (magic == "lmgg") {
        const bool findsVoices = file.filename().string().find("silero") != std::string::npos;
        return findsVoices ? ModelFileKind::voice : ModelFileKind::speech;
    }
    throw ModelFileError(Case::notAModel, file.filename().string());
}

/// The name under which a file of the user's own is found again.
std::string nameFor(const std::filesystem::path& file, ModelFileKind kind) {
    std::string stem = file.stem().string();
    if (kind == ModelFileKind::language) {
        return stem + ".gguf";
    }
    const std::string prefix = kind == ModelFileKind::voice ? "ggml-silero-" : "ggml-";
    return (stem.starts_with(prefix) ? stem : prefix + stem) + ".bin";
}

void copyInto(const std::filesystem::path& source, const std::filesystem::path& target) {
    const std::filesystem::path partial = target.string() + ".copy";
    std::error_code failure;
    const std::uintmax_t bytes = std::filesystem::file_size(source, failure);
    const std::uintmax_t free = std::filesystem::space(target.parent_path(), failure).available;
    if (!failure && free < bytes + spareBytes) {
        throw ModelFileError(Case::noSpace);
    }
    std::filesystem::copy_file(source, partial, std::filesystem::copy_options::overwrite_existing, failure);
    if (!failure) {
        std::filesystem::permissions(partial, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                     failure);
    }
    if (!failure) {
        std::filesystem::rename(partial, target, failure);
    }
    if (failure) {
        std::error_code gone;
        std::filesystem::remove(partial, gone);
        throw ModelFileError(failure == std::errc::no_space_on_device ? Case::noSpace : Case::notWritable,
                             failure.message());
    }
}

void createFolder(const std::filesystem::path& folder) {
    std::error_code failure;
    std::filesystem::create_directories(folder.parent_path(), failure);
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        throw ModelFileError(Case::notWritable, std::generic_category().message(errno));
    }
}

} // namespace

ModelFolder::ModelFolder(std::filesystem::path folder, ModelFileChecking& checking, DownloadHosts hosts)
    : folder_(std::move(folder)), checking_(checking), hosts_(hosts), threads_(simultaneousTransfers) {}

ModelFolder::~ModelFolder() {
    for (const auto& download : downloads_) {
        if (const auto progress = download.lock()) {
            progress->end = ModelFileProgress::End::paused;
        }
    }
    threads_.join();
}

std::vector<std::string> ModelFolder::installed(ModelFileKind kind) const {
    std::vector<std::pair<std::filesystem::file_time_type, std::string>> files;
    std::error_code unreadable;
    std::filesystem::directory_iterator entry(folder_, unreadable);
    for (; !unreadable && entry != std::filesystem::directory_iterator(); entry.increment(unreadable)) {
        std::string name = entry->path().filename().string();
        std::error_code unknown;
        if (kindOf(name) == kind && entry->is_regular_file(unknown)) {
            files.emplace_back(entry->last_write_time(unknown), std::move(name));
        }
    }
    std::ranges::sort(files, std::greater());
    std::vector<std::string> names;
    names.reserve(files.size());
    for (auto& [time, name] : files) {
        names.push_back(std::move(name));
    }
    return names;
}

Task<void> ModelFolder::download(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) {
    std::erase_if(downloads_, [](const auto& download) { return download.expired(); });
    downloads_.push_back(progress);
    std::function<void()> fetch = [file = std::move(file), folder = folder_, progress, hosts = hosts_] {
        createFolder(folder);
        downloadModelFile(file, folder, *progress, hosts);
    };
    return runOn(threads_.get_executor(), std::move(fetch));
}

Task<ModelFileKind> ModelFolder::install(std::filesystem::path file) {
    const Executor threads = threads_.get_executor();
    std::function<ModelFileKind()> look = [file] { return examine(file); };
    const ModelFileKind kind = co_await runOn(threads, std::move(look));
    co_await checked(kind, file);
    std::function<void()> copy = [file, target = folder_ / nameFor(file, kind)] {
        createFolder(target.parent_path());
        std::error_code different;
        if (!std::filesystem::equivalent(file, target, different)) {
            copyInto(file, target);
        }
    };
    co_await runOn(threads, std::move(copy));
    co_return kind;
}

Task<void> ModelFolder::checked(ModelFileKind kind, std::filesystem::path file) {
    try {
        co_await checking_.check(kind, std::move(file));
    } catch (const std::exception& error) {
        throw ModelFileError(Case::notUsable, error.what());
    }
}

void ModelFolder::prefer(const std::string& name) {
    std::error_code failure;
    std::filesystem::last_write_time(folder_ / name, std::filesystem::file_time_type::clock::now(), failure);
    if (failure) {
        throw ModelFileError(Case::notWritable, failure.message());
    }
}

void ModelFolder::remove(const std::string& name) {
    std::error_code failure;
    if (!kindOf(name) || std::filesystem::path(name).has_parent_path() ||
        !std::filesystem::remove(folder_ / name, failure)) {
        throw ModelFileError(Case::notWritable, failure ? failure.message() : name);
    }
}

} // namespace talkledger
