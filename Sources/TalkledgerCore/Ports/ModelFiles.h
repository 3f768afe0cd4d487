#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// The model files of the engines: which there are to be had, what they cost, and which are installed.
namespace talkledger {

enum class ModelFileKind {
    speech,
    voice, ///< tells voices from other sounds, for the speech models
    language,
};

/// A text in both languages of the program.
struct ModelFileText {
    std::string english;
    std::string japanese;

    bool operator==(const ModelFileText&) const = default;
};

/// A file that is known to be good, with what it costs.
struct KnownModelFile {
    std::string identifier;
    ModelFileKind kind{ModelFileKind::speech};
    std::string name;      ///< of the file
    std::string address;   ///< an https URL
    std::int64_t bytes{0}; ///< about
    std::string sha1;      ///< in hexadecimal digits; empty when only the host knows a checksum
    ModelFileText title;
    ModelFileText cost;        ///< memory, time and whom it suits
    bool isUsual{false};       ///< shown before the user asks for all of them
    bool isRecommended{false}; ///< of its kind

    bool operator==(const KnownModelFile&) const = default;
};

/// Why a model file is not installed. `what()` says it in English, with what to do.
class ModelFileError : public std::runtime_error {
public:
    enum class Case {
        notReachable,
        notHandedOut,   ///< the host does not have it, or keeps it
        brokenOff,      ///< what has arrived is kept
        refusedAddress, ///< led to a place that is not asked
        wrongSize,
        wrongChecksum,
        noChecksum, ///< the host declares none
        noSpace,
        notWritable,
        notAModel,
        notUsable,     ///< the engine could not work with it
        needsMemory,   ///< more than there is
        engineMissing, ///< nobody could try it
        cancelled,
    };

    /// `reason` is what the system, a library or the engine said.
    explicit ModelFileError(Case failure, const std::string& reason = {});

    Case failure() const { return failure_; }

    const std::string& reason() const { return reason_; }

    bool operator==(const ModelFileError& other) const {
        return failure_ == other.failure_ && reason_ == other.reason_;
    }

private:
    Case failure_;
    std::string reason_;
};

/// How a download stands, and the wish to end it. Any thread.
struct ModelFileProgress {
    enum class End {
        none,
        paused,    ///< what has arrived is kept
        cancelled, ///< nothing is kept
    };

    std::atomic<std::int64_t> received{0}; ///< bytes, with what an earlier attempt left
    std::atomic<std::int64_t> total{0};    ///< 0 until it is known
    std::atomic<bool> isBeingVerified{false};
    std::atomic<End> end{End::none};
};

/// A file that the user has asked for and that is not installed yet.
struct AwaitedModelFile {
    std::string name;
    bool isOnItsWay{false}; ///< otherwise it was broken off, and waits for the user to ask for it again

    bool operator==(const AwaitedModelFile&) const = default;
};

/// Those files. Main executor.
class AwaitedModelFiles {
public:
    AwaitedModelFiles() = default;
    AwaitedModelFiles(const AwaitedModelFiles&) = delete;
    AwaitedModelFiles& operator=(const AwaitedModelFiles&) = delete;
    virtual ~AwaitedModelFiles() = default;

    virtual std::vector<AwaitedModelFile> awaited(ModelFileKind kind) const = 0;

    /// Returns when a file that is on its way is installed; throws `ModelFileError` when it does not come. Waits for
    /// nothing when it is not on its way any more. Cancelling this ends the wait alone.
    virtual Task<void> arrival(std::string name) = 0;
};

/// Whether an engine can work with a file. Main executor.
class ModelFileChecking {
public:
    ModelFileChecking() = default;
    ModelFileChecking(const ModelFileChecking&) = delete;
    ModelFileChecking& operator=(const ModelFileChecking&) = delete;
    virtual ~ModelFileChecking() = default;

    /// Throws `ModelFileError` when it cannot.
    virtual Task<void> check(ModelFileKind kind, std::filesystem::path file) = 0;
};

/// The folder of installed model files. Main executor; failures are `ModelFileError`.
class ModelFiles {
public:
    ModelFiles() = default;
    ModelFiles(const ModelFiles&) = delete;
    ModelFiles& operator=(const ModelFiles&) = delete;
    virtual ~ModelFiles() = default;

    /// Names of the files of that kind, the last installed first.
    virtual std::vector<std::string> installed(ModelFileKind kind) const = 0;

    /// Fetches and verifies it; it is installed when this returns. Goes on with what an earlier attempt left.
    virtual Task<void> download(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) = 0;

    /// Installs a copy of a file of the user's own, when it is a model and the engine can work with it.
    virtual Task<ModelFileKind> install(std::filesystem::path file) = 0;

    /// From now on this one of its kind is used.
    virtual void prefer(const std::string& name) = 0;
    virtual Task<void> remove(std::string name) = 0;
};

} // namespace talkledger
