#pragma once

#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <memory>

namespace talkledger::rehearsal {

/// A private home folder with everything that belongs to it, removed with this object: an English user's settings and
/// folders, and a session bus of its own that starts no services. Needs the package dbus.
class PrivateHome {
public:
    PrivateHome();
    ~PrivateHome() = default;
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;

    const testing::EnvironmentChanges& environment() const { return environment_; }

    /// Where recordings, models and Markdown documents are to be found.
    std::filesystem::path recordings() const { return folder() / "data/Talkledger/Recordings"; }

    std::filesystem::path models() const { return folder() / "data/Talkledger/Models"; }

    std::filesystem::path documents() const { return folder() / "Documents/Talkledger Transcripts"; }

    const std::filesystem::path& folder() const { return folder_.path(); }

private:
    testing::TemporaryFolder folder_;
    testing::EnvironmentChanges environment_;
    std::unique_ptr<testing::ChildProcess> bus_;
};

} // namespace talkledger::rehearsal
