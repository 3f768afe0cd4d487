#include "TalkledgerPlatform/ModelFiles/ModelDownload.h"

#include "TalkledgerPlatform/Files/Durability.h"
#include "TalkledgerPlatform/ModelFiles/Checksum.h"
#include "TalkledgerPlatform/ModelFiles/WriteFailure.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace talkledger {
namespace {

using Case = ModelFileError::Case;
using End = ModelFileProgress::End;

constexpr long mostRedirects = 5;
constexpr long connectSeconds = 30;
constexpr long silentSeconds = 60; ///< without a byte, the connection counts as broken
constexpr std::int64_t spareBytes = 64 << 20;

/// The sizes that are known in advance are rounded.
std::int64_t mostBytes(const KnownModelFile& file) {
    return file.bytes + file.bytes / 10 + (1 << 20);
}

/// What has arrived of a file, open for more of it.
class PartialFile {
public:
    explicit PartialFile(const std::filesystem::path& path)
        : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
        throwIfWriteFailed(descriptor_ < 0 ? errno : 0);
        size_ = lseek(descriptor_, 0, SEEK_END);
    }

    ~PartialFile() { close(descriptor_); }

    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    std::int64_t size() const { return size_; }

    void append(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = uninterrupted([&] { return write(descriptor_, bytes.data(), bytes.size()); });
            throwIfWriteFailed(written < 0 ? errno : 0);
            bytes.remove_prefix(static_cast<std::size_t>(written));
            size_ += written;
        }
    }

    void clear() {
        throwIfWriteFailed(ftruncate(descriptor_, 0) != 0 || lseek(descriptor_, 0, SEEK_SET) != 0 ? errno : 0);
        size_ = 0;
    }

    void sync() const {
        throwIfWriteFailed(uninterrupted([this] { return fsync(descriptor_); }) < 0 ? errno : 0);
    }

private:
    int descriptor_;
    std::int64_t size_{0};
};

std::optional<std::int64_t> numberIn(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= 0 ? std::optional(number)
                                                                                   : std::nullopt;
}

/// The value of that header, in whatever case its name is written; absent when `line` is another.
std::optional<std::string_view> valueOf(std::string_view line, std::string_view name) {
    const auto isSame = [](char left, char right) { return std::tolower(static_cast<unsigned char>(left)) == right; };
    if (line.size() <= name.size() || line[name.size()] != ':' ||
        !std::equal(name.begin(), name.end(), line.begin(),
                    [&](char right, char left) { return isSame(left, right); })) {
        return std::nullopt;
    }
    line.remove_prefix(name.size() + 1);
    const auto first = line.find_first_not_of(" \t\"");
    const auto last = line.find_last_not_of(" \t\r\n\"");
    return first == std::string_view::npos ? std::string_view() : line.substr(first, last - first + 1);
}

/// One download, as the library's callbacks see it.
class Transfer {
public:
    Transfer(const KnownModelFile& file, const std::filesystem::path& path, ModelFileProgress& progress,
             DownloadHosts hosts)
        : file_(file),
          partial_(path),
          progress_(progress),
          hosts_(hosts),
          handle_(curl_easy_init(), curl_easy_cleanup) {
        progress_.received = partial_.size();
    }

    /// Returns when the whole file is there, with its size and checksum declared.
    void perform() {
        CURLcode result = attempt();
        constexpr long nothingBehind = 416;
        if (status_ == nothingBehind && partial_.size() == total_ && isVerifiable()) {
            result = CURLE_OK; // all of it had arrived
        } else if (result == CURLE_RANGE_ERROR || status_ == nothingBehind) {
            partial_.clear(); // what is there cannot be continued
            result = attempt();
        }
        if (failure_) {
            throw ModelFileError(*failure_);
        }
        if (progress_.end != End::none) {
            throw ModelFileError(Case::cancelled);
        }
        if (result != CURLE_OK) {
            throw ModelFileError(caseOf(result), curl_easy_strerror(result));
        }
        if (partial_.size() != total_) {
            throw ModelFileError(Case::brokenOff, "the end is missing");
        }
        partial_.sync();
    }

    /// Of the whole file, in hexadecimal digits; empty when the host declared none.
    const std::string& declaredSha256() const { return sha256_; }

private:
    CURLcode attempt() {
        CURL* const handle = handle_.get();
        curl_easy_reset(handle);
        responses_ = 0;
        const char* const protocols = hosts_ == DownloadHosts::secure ? "https" : "http";
        curl_easy_setopt(handle, CURLOPT_URL, file_.address.c_str());
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, protocols);
        curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, protocols);
        curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
        curl_easy_setopt(handle, CURLOPT_MAXREDIRS, mostRedirects);
        curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, connectSeconds);
        curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, silentSeconds);
        curl_easy_setopt(handle, CURLOPT_USERAGENT, "Talkledger");
        curl_easy_setopt(handle, CURLOPT_RESUME_FROM_LARGE, static_cast<curl_off_t>(partial_.size()));
        curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &Transfer::takeHeader);
        curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Transfer::takeBytes);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &Transfer::goesOn);
        curl_easy_setopt(handle, CURLOPT_XFERINFODATA, this);
        curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &Transfer::mayAsk);
        curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
        const CURLcode result = curl_easy_perform(handle);
        curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status_);
        return result;
    }

    static Case caseOf(CURLcode result) {
        switch (result) {
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_TOO_MANY_REDIRECTS:
        case CURLE_URL_MALFORMAT:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_ABORTED_BY_CALLBACK:
            return Case::refusedAddress;
        case CURLE_HTTP_RETURNED_ERROR:
            return Case::notHandedOut;
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_GOT_NOTHING:
        case CURLE_HTTP2_STREAM:
            return Case::brokenOff;
        default:
            return Case::notReachable;
        }
    }

    /// What the host declares of the file stands in its first answer; where the bytes come from may be another host.
    static std::size_t takeHeader(char* text, std::size_t size, std::size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const std::string_view line(text, size * count);
        if (line.starts_with("HTTP/")) {
            ++transfer.responses_;
        } else if (transfer.responses_ == 1) {
            if (const auto sum = valueOf(line, "x-linked-etag")) {
                transfer.sha256_ = *sum;
            } else if (const auto bytes = valueOf(line, "x-linked-size")) {
                transfer.total_ = numberIn(*bytes).value_or(0);
            }
        }
        return line.size();
    }

    static std::size_t takeBytes(char* bytes, std::size_t size, std::size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        return transfer.take({bytes, size * count}) ? size * count : CURL_WRITEFUNC_ERROR;
    }

    bool take(std::string_view bytes) {
        if (progress_.total == 0 && !begin()) {
            return false;
        }
        if (partial_.size() + static_cast<std::int64_t>(bytes.size()) > total_) {
            return fail(ModelFileError(Case::wrongSize));
        }
        try {
            partial_.append(bytes);
        } catch (const ModelFileError& error) {
            return fail(error);
        }
        progress_.received = partial_.size();
        return true;
    }

    /// The first bytes are there, and before them what the hosts say of the whole.
    bool begin() {
        curl_off_t rest = -1;
        curl_easy_getinfo(handle_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &rest);
        const std::int64_t whole = rest < 0 ? total_ : partial_.size() + rest;
        total_ = total_ == 0 ? whole : total_;
        if (total_ <= 0 || total_ != whole || total_ > mostBytes(file_)) {
            return fail(ModelFileError(Case::wrongSize));
        }
        if (!isVerifiable()) {
            return fail(ModelFileError(Case::noChecksum));
        }
        progress_.total = total_;
        return true;
    }

    bool isVerifiable() const { return !file_.sha1.empty() || !sha256_.empty(); }

    bool fail(const ModelFileError& failure) {
        failure_ = failure;
        return false;
    }

    static int goesOn(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
        return static_cast<Transfer*>(self)->progress_.end == End::none ? 0 : 1;
    }

    static int mayAsk(void* self, char* address, char* /*ownAddress*/, int /*port*/, int /*ownPort*/) {
        const std::string_view host(address);
        const bool isLoopback = host.starts_with("127.") || host == "::1";
        const bool mayBeAsked = static_cast<Transfer*>(self)->hosts_ == DownloadHosts::secure || isLoopback;
        return mayBeAsked ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    }

    const KnownModelFile& file_;
    PartialFile partial_;
    ModelFileProgress& progress_;
    const DownloadHosts hosts_;
    const std::unique_ptr<CURL, void (*)(CURL*)> handle_;
    int responses_{0};
    long status_{0};
    std::int64_t total_{0}; ///< 0 until it is known
    std::string sha256_;
    std::optional<ModelFileError> failure_; ///< found in a callback
};

void ensureSpace(const KnownModelFile& file, const std::filesystem::path& folder,
                 const std::filesystem::path& partial) {
    std::error_code unknown;
    const std::filesystem::space_info space = std::filesystem::space(folder, unknown);
    if (unknown) {
        return;
    }
    std::error_code missing;
    const std::uintmax_t present = std::filesystem::file_size(partial, missing);
    const std::int64_t needed = file.bytes - (missing ? 0 : static_cast<std::int64_t>(present)) + spareBytes;
    if (needed > 0 && space.available < static_cast<std::uintmax_t>(needed)) {
        throw ModelFileError(Case::noSpace);
    }
}

void verify(const KnownModelFile& file, const std::filesystem::path& path, const std::string& sha256,
            const ModelFileProgress& progress) {
    const auto isWanted = [&progress] { return progress.end == End::none; };
    const bool isGood = file.sha1.empty() ? checksum(path, ChecksumKind::sha256, isWanted) == sha256
                                          : checksum(path, ChecksumKind::sha1, isWanted) == file.sha1;
    if (!isWanted()) {
        throw ModelFileError(Case::cancelled);
    }
    if (!isGood) {
        throw ModelFileError(Case::wrongChecksum);
    }
}

/// Whether a later attempt can go on with what has arrived.
bool isWorthKeeping(const ModelFileError& error, const ModelFileProgress& progress) {
    switch (error.failure()) {
    case Case::brokenOff:
    case Case::notReachable:
    case Case::noSpace:
    case Case::notHandedOut:
        return progress.received > 0;
    case Case::cancelled:
        return progress.end == End::paused;
    default:
        return false;
    }
}

} // namespace

void downloadModelFile(const KnownModelFile& file, const std::filesystem::path& folder, ModelFileProgress& progress,
                       DownloadHosts hosts) {
    const std::filesystem::path partial = folder / (file.name + partialSuffix);
    ensureSpace(file, folder, partial);
    try {
        std::string sha256;
        {
            Transfer transfer(file, partial, progress, hosts);
            transfer.perform();
            sha256 = transfer.declaredSha256();
        }
        progress.isBeingVerified = true;
        verify(file, partial, sha256, progress);
        std::filesystem::rename(partial, folder / file.name);
        throwIfWriteFailed(synchroniseFolder(folder));
    } catch (const ModelFileError& error) {
        if (!isWorthKeeping(error, progress)) {
            std::error_code gone;
            std::filesystem::remove(partial, gone);
        }
        throw;
    } catch (const std::filesystem::filesystem_error& error) {
        throw writeFailure(error.code().value());
    }
}

} // namespace talkledger
