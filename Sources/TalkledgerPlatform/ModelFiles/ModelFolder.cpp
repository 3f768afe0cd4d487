#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"

#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerPlatform/Files/Durability.h"
#include "TalkledgerPlatform/Files/ModelFileNames.h"
#include "TalkledgerPlatform/ModelFiles/WriteFailure.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <fstream>
#include <functional>
#include <string_view>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

using Case = ModelFileError::Case;

constexpr std::size_t simultaneousTransfers = 2;
constexpr std::uintmax_t spareBytes = 64 << 20;

/// What is to become of a download: told to those who wait for it.
Task<void> ended(std::shared_ptr<DownloadUnderWay> download, Task<void> fetching) {
    std::exception_ptr failure;
    try {
        co_await std::move(fetching);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    download->tellEnd(failure);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// What a file begins with: of models in one format, those that find voices tell the length of a name next, and the
/// others the number of their words.
struct ModelHead {
    std::array<char, 4> format{};
    std::uint32_t next{0};
};

ModelHead headOf(const std::filesystem::path& file) {
    ModelHead head;
    std::error_code unknown;
    if (std::filesystem::is_regular_file(file, unknown)) { // reading anything else may never end
        std::ifstream stream(file, std::ios::binary);
        stream.read(head.format.data(), head.format.size());
        stream.read(reinterpret_cast<char*>(&head.next), sizeof head.next);
    }
    return head;
}

/// By what the file begins with, whatever its name.
ModelFileKind examine(const std::filesystem::path& file) {
    constexpr std::uint32_t longestName = 256;
    const ModelHead head = headOf(file);
    const std::string_view format(head.format.data(), head.format.size());
    if (format == "GGUF") {
        return ModelFileKind::language;
    }
    if (format == "lmgg") {
        return head.next <= longestName ? ModelFileKind::voice : ModelFileKind::speech;
    }
    throw ModelFileError(Case::notAModel, file.filename().string());
}

std::string without(std::string_view prefix, const std::string& text) {
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

/// The name under which a file of the user's own is found again as what it is.
std::string nameFor(const std::filesystem::path& file, ModelFileKind kind) {
    const std::string stem = file.stem().string();
    if (kind == ModelFileKind::language) {
        return stem + ".gguf";
    }
    const std::string bare = without("ggml-", stem);
    if (kind == ModelFileKind::voice) {
        return "ggml-silero-" + without("silero-", bare) + ".bin";
    }
    return (bare.starts_with("silero-") ? "ggml-speech-" : "ggml-") + bare + ".bin";
}

void ensureSpace(const std::filesystem::path& source, const std::filesystem::path& folder) {
    std::error_code unknown;
    const std::uintmax_t bytes = std::filesystem::file_size(source, unknown);
    const std::uintmax_t free = std::filesystem::space(folder, unknown).available;
    if (!unknown && free < bytes + spareBytes) {
        throw ModelFileError(Case::noSpace);
    }
}

/// Nothing of it is left unless it has been given another name.
class PartialCopy {
public:
    explicit PartialCopy(std::filesystem::path path) : path_(std::move(path)) {}

    ~PartialCopy() {
        std::error_code gone;
        std::filesystem::remove(path_, gone);
    }

    PartialCopy(const PartialCopy&) = delete;
    PartialCopy& operator=(const PartialCopy&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    const std::filesystem::path path_;
};

void copyInto(const std::filesystem::path& source, const std::filesystem::path& target) {
    ensureSpace(source, target.parent_path());
    const PartialCopy copy(target.string() + ".copy");
    const std::filesystem::path& partial = copy.path();
    try {
        std::filesystem::copy_file(source, partial, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::permissions(partial, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        throwIfWriteFailed(synchroniseFile(partial));
        std::filesystem::rename(partial, target);
        throwIfWriteFailed(synchroniseFolder(target.parent_path()));
    } catch (const std::filesystem::filesystem_error& error) {
        throw writeFailure(error.code().value());
    }
}

void createFolder(const std::filesystem::path& folder) {
    std::error_code failure;
    std::filesystem::create_directories(folder.parent_path(), failure);
    if (mkdir(folder.c_str(), S_IRWXU) == 0) {
        throwIfWriteFailed(synchroniseFolder(folder.parent_path()));
    } else if (errno != EEXIST) {
        throwIfWriteFailed(errno);
    }
}

} // namespace

ModelFolder::ModelFolder(std::filesystem::path folder, ModelFileChecking& checking, DownloadHosts hosts)
    : folder_(std::move(folder)), checking_(checking), hosts_(hosts), transfers_(simultaneousTransfers), chores_(1) {}

ModelFolder::~ModelFolder() {
    for (const auto& [name, weak] : downloads_) {
        if (const auto download = weak.lock()) {
            download->pause();
        }
    }
    transfers_.join();
    chores_.join();
}

std::vector<std::string> ModelFolder::installed(ModelFileKind kind) const {
    std::vector<std::string> names;
    for (const std::filesystem::path& file : modelFilesIn(folder_, kind)) {
        names.push_back(file.filename().string());
    }
    return names;
}

Task<void> ModelFolder::download(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) {
    const auto download = std::make_shared<DownloadUnderWay>(progress);
    downloads_[file.name] = download;
    std::function<void()> fetch = [file = std::move(file), folder = folder_, progress, hosts = hosts_] {
        createFolder(folder);
        downloadModelFile(file, folder, *progress, hosts);
    };
    return ended(download, runOn(transfers_.get_executor(), std::move(fetch)));
}

std::vector<AwaitedModelFile> ModelFolder::awaited(ModelFileKind kind) const {
    std::map<std::string, bool> files;
    std::error_code unreadable;
    for (std::filesystem::directory_iterator entry(folder_, unreadable), end; !unreadable && entry != end;
         entry.increment(unreadable)) {
        const std::filesystem::path& path = entry->path();
        if (path.extension() == partialSuffix && modelFileKind(path.stem().string()) == kind) {
            files[path.stem().string()] = false;
        }
    }
    for (const auto& [name, weak] : downloads_) {
        const auto download = weak.lock();
        if (download && !download->hasEnded() && modelFileKind(name) == kind) {
            files[name] = true;
        }
    }
    std::vector<AwaitedModelFile> awaited;
    awaited.reserve(files.size());
    for (const auto& [name, isOnItsWay] : files) {
        awaited.push_back({.name = name, .isOnItsWay = isOnItsWay});
    }
    return awaited;
}

Task<void> ModelFolder::arrival(std::string name) {
    const auto known = downloads_.find(name);
    const auto download = known == downloads_.end() ? nullptr : known->second.lock();
    if (download && !download->hasEnded()) {
        co_await download->end();
    }
}

Task<ModelFileKind> ModelFolder::install(std::filesystem::path file) {
    const Executor chores = chores_.get_executor();
    std::function<ModelFileKind()> look = [file] { return examine(file); };
    const ModelFileKind kind = co_await runOn(chores, std::move(look));
    co_await checking_.check(kind, file);
    std::function<void()> copy = [file, target = folder_ / nameFor(file, kind)] {
        createFolder(target.parent_path());
        std::error_code different;
        if (!std::filesystem::equivalent(file, target, different)) {
            copyInto(file, target);
        }
    };
    co_await runOn(chores, std::move(copy));
    co_return kind;
}

void ModelFolder::prefer(const std::string& name) {
    std::error_code failure;
    std::filesystem::last_write_time(folder_ / name, std::filesystem::file_time_type::clock::now(), failure);
    if (failure) {
        throw ModelFileError(Case::notWritable, failure.message());
    }
}

/// The disk takes its time to give back what a large file holds.
Task<void> ModelFolder::remove(std::string name) {
    std::function<void()> removal = [name = std::move(name), folder = folder_] {
        std::error_code failure;
        if (!modelFileKind(name) || std::filesystem::path(name).has_parent_path() ||
            !std::filesystem::remove(folder / name, failure)) {
            throw ModelFileError(Case::notWritable, failure ? failure.message() : name);
        }
    };
    return runOn(chores_.get_executor(), std::move(removal));
}

} // namespace talkledger
