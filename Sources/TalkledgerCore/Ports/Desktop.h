#pragma once

#include "TalkledgerCore/Support/Task.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace talkledger {

/// The desktop cannot do what it was asked for. Its `what()` is the user-visible text.
class DesktopError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the user's desktop does for the program. Called on the main executor; failures are `DesktopError`.
class Desktop {
public:
    Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
    virtual ~Desktop() = default;

    /// One folder of the user's choice, perhaps a new one; absent when the user thinks better of it. `prompt` stands on
    /// the button that confirms.
    virtual Task<std::optional<std::filesystem::path>> chooseFolder(std::string prompt,
                                                                    std::filesystem::path startFolder) = 0;

    /// In the file browser.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    /// In the file browser, among what else is in its folder.
    virtual void reveal(const std::filesystem::path& file) = 0;

    /// The settings page that a permission's settings link stands for.
    virtual void openSettings(const std::string& url) = 0;

    /// Moves a folder to where the user finds what was deleted; where it lies now.
    virtual std::filesystem::path moveToTrash(const std::filesystem::path& folder) = 0;

    /// Takes it back to where it was.
    virtual void restoreFromTrash(const std::filesystem::path& trashed, const std::filesystem::path& folder) = 0;

    /// In place of what is on the clipboard.
    virtual void copyText(const std::string& text) = 0;
};

} // namespace talkledger
