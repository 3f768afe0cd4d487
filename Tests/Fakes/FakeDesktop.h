#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Ports/Desktop.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace talkledger::testing {

/// A desktop whose user chooses what the test says, and that remembers what it was asked for.
class FakeDesktop final : public Desktop {
public:
    explicit FakeDesktop(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    Gate dialog; ///< closed while the user is choosing
    std::optional<std::filesystem::path> chosenFolder;
    std::optional<std::string> failure;
    std::string clipboard;

    Task<std::optional<std::filesystem::path>> chooseFolder(std::string prompt,
                                                            std::filesystem::path startFolder) override {
        log.add(prompt + ": " + startFolder.string());
        co_await dialog.pass();
        failIfSet();
        co_return chosenFolder;
    }

    void openFolder(const std::filesystem::path& folder) override { act("open " + folder.string()); }

    void reveal(const std::filesystem::path& file) override { act("reveal " + file.string()); }

    void openSettings(const std::string& url) override { act("settings " + url); }

    std::filesystem::path moveToTrash(const std::filesystem::path& folder) override {
        act("trash " + folder.filename().string());
        std::filesystem::path trashed = folder.parent_path().parent_path() / ("trashed " + folder.filename().string());
        std::filesystem::rename(folder, trashed);
        return trashed;
    }

    void restoreFromTrash(const std::filesystem::path& trashed, const std::filesystem::path& folder) override {
        act("restore " + folder.filename().string());
        std::filesystem::rename(trashed, folder);
    }

    void copyText(const std::string& text) override {
        failIfSet();
        clipboard = text;
    }

private:
    void act(const std::string& call) {
        failIfSet();
        log.add(call);
    }

    void failIfSet() const {
        if (failure) {
            throw DesktopError(*failure);
        }
    }
};

} // namespace talkledger::testing
