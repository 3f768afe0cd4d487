#pragma once

#include <filesystem>
#include <string_view>

namespace talkledger {

/// Where this user keeps things, as the XDG base directories say.
struct UserFolders {
    std::filesystem::path home;
    std::filesystem::path dataHome;   ///< XDG_DATA_HOME
    std::filesystem::path configHome; ///< XDG_CONFIG_HOME

    /// From the environment, with the customary places below the home folder for what is not set. Read it before other
    /// threads change the environment.
    static UserFolders fromEnvironment();

    /// XDG_DOCUMENTS_DIR in the content of the file "user-dirs.dirs" of `configHome`; without one, "Documents" below
    /// the home folder.
    std::filesystem::path documents(std::string_view userDirectories) const;
};

} // namespace talkledger
