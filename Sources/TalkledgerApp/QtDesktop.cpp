#include "TalkledgerApp/QtDesktop.h"

#include "TalkledgerCore/Support/Continuation.h"

#include <boost/asio/this_coro.hpp>

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <array>
#include <memory>
#include <utility>

namespace talkledger {
namespace {

QUrl localUrl(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path));
}

/// The nearest folder above that there is.
std::filesystem::path existing(std::filesystem::path folder) {
    std::error_code unknown;
    while (folder.has_relative_path() && !std::filesystem::is_directory(folder, unknown)) {
        folder = folder.parent_path();
    }
    return folder;
}

/// The sound settings of the desktops, each under its program; the last ones work everywhere.
QList<QStringList> soundSettings() {
    const QStringList gnome{QStringLiteral("gnome-control-center"), QStringLiteral("sound")};
    const QStringList plasma{QStringLiteral("systemsettings"), QStringLiteral("kcm_pulseaudio")};
    const QStringList cinnamon{QStringLiteral("cinnamon-settings"), QStringLiteral("sound")};
    const QStringList mixer{QStringLiteral("pavucontrol")};
    const QStringList qtMixer{QStringLiteral("pavucontrol-qt")};
    const bool isPlasma = qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("KDE"));
    return isPlasma ? QList{plasma, gnome, cinnamon, qtMixer, mixer} : QList{gnome, cinnamon, plasma, mixer, qtMixer};
}

} // namespace

Task<std::optional<std::filesystem::path>> QtDesktop::chooseFolder(std::string prompt,
                                                                   std::filesystem::path startFolder) {
    using Answer = std::optional<std::filesystem::path>;
    answerFolder({}); // there is one dialog
    const Executor executor = co_await boost::asio::this_coro::executor;
    const auto answer = std::make_shared<Continuation<Answer>>(executor);
    folderAnswer_ = [weakAnswer = std::weak_ptr(answer)](Answer folder) {
        if (const auto waiting = weakAnswer.lock()) {
            waiting->resume(std::move(folder));
        }
    };
    Q_EMIT folderWanted(QString::fromStdString(prompt), localUrl(existing(std::move(startFolder))));
    co_return co_await answer->wait();
}

void QtDesktop::answerFolder(const QUrl& folder) {
    if (const FolderAnswer answer = std::exchange(folderAnswer_, nullptr)) {
        answer(folder.isLocalFile() ? std::optional(std::filesystem::path(folder.toLocalFile().toStdString()))
                                    : std::nullopt);
    }
}

void QtDesktop::openFolder(const std::filesystem::path& folder) {
    if (!QDesktopServices::openUrl(localUrl(folder))) {
        throw DesktopError("No program could be started that shows the folder " + folder.string() + ".");
    }
}

void QtDesktop::reveal(const std::filesystem::path& file) {
    if (!std::filesystem::exists(file)) {
        throw DesktopError("There is no " + file.string() + " any more.");
    }
    QDBusMessage show = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    show << QStringList(localUrl(file).toString()) << QString();
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(show), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [folder = file.parent_path(), watcher] {
        watcher->deleteLater();
        if (watcher->isError()) { // no file browser that could mark it
            QDesktopServices::openUrl(localUrl(folder));
        }
    });
}

void QtDesktop::openSettings(const std::string& /*url*/) {
    for (QStringList command : soundSettings()) {
        const QString program = QStandardPaths::findExecutable(command.takeFirst());
        if (!program.isEmpty() && QProcess::startDetached(program, command)) {
            return;
        }
    }
    throw DesktopError("No program for the settings of this desktop's sound was found. Open the settings yourself, and "
                       "look for sound.");
}

std::filesystem::path QtDesktop::moveToTrash(const std::filesystem::path& folder) {
    QString trashed;
    if (!QFile::moveToTrash(QString::fromStdString(folder), &trashed) || trashed.isEmpty()) {
        throw DesktopError("The folder " + folder.string() +
                           " could not be moved to the trash. Check that you may write beside it.");
    }
    return trashed.toStdString();
}

void QtDesktop::restoreFromTrash(const std::filesystem::path& trashed, const std::filesystem::path& folder) {
    std::error_code failure;
    if (std::filesystem::exists(folder, failure)) {
        throw DesktopError("There is another folder " + folder.string() + " now.");
    }
    std::filesystem::rename(trashed, folder, failure);
    if (failure) {
        throw DesktopError("The folder " + folder.string() + " could not be taken out of the trash: " +
                           failure.message() + ". Restore it in the file browser.");
    }
    // The trash keeps beside each thing where it came from.
    const auto origin = trashed.parent_path().parent_path() / "info" / (trashed.filename().string() + ".trashinfo");
    std::filesystem::remove(origin, failure);
}

void QtDesktop::copyText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

} // namespace talkledger
