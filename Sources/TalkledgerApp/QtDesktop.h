#pragma once

#include "TalkledgerCore/Ports/Desktop.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace talkledger {

/// The desktop as Qt and the session bus know it. Folders are chosen in a dialog of the window, which hears
/// `folderWanted` and answers. Main thread.
class QtDesktop : public QObject, public Desktop {
    Q_OBJECT

public:
    Task<std::optional<std::filesystem::path>> chooseFolder(std::string prompt,
                                                            std::filesystem::path startFolder) override;
    void openFolder(const std::filesystem::path& folder) override;
    void reveal(const std::filesystem::path& file) override;

    /// Every permission is about sound here: the settings of that are opened.
    void openSettings(const std::string& url) override;
    std::filesystem::path moveToTrash(const std::filesystem::path& folder) override;
    void restoreFromTrash(const std::filesystem::path& trashed, const std::filesystem::path& folder) override;
    void copyText(const std::string& text) override;

    /// The dialog's answer; an empty one means that none was chosen.
    Q_INVOKABLE void answerFolder(const QUrl& folder);

Q_SIGNALS:
    void folderWanted(const QString& prompt, const QUrl& startFolder);

private:
    using FolderAnswer = std::function<void(std::optional<std::filesystem::path>)>;

    FolderAnswer folderAnswer_; ///< empty unless a dialog is open
};

} // namespace talkledger
