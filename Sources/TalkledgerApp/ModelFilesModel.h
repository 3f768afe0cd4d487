#pragma once

#include "TalkledgerApp/AppModel.h"
#include "TalkledgerCore/Ports/ModelFiles.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {

/// The model files as the screens show them, and what the user does with them. Nothing is fetched that the user has not
/// asked for. Main thread.
class ModelFilesModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList speechRows READ speechRows NOTIFY changed)
    Q_PROPERTY(QVariantList languageRows READ languageRows NOTIFY changed)
    Q_PROPERTY(QVariantMap speechOffer READ speechOffer NOTIFY changed)
    Q_PROPERTY(QVariantMap languageOffer READ languageOffer NOTIFY changed)
    Q_PROPERTY(bool isInstalling READ isInstalling NOTIFY changed)
    Q_PROPERTY(QString installFailure READ installFailure NOTIFY changed)

public:
    /// `model` has to outlive it. `known` are the files that are offered, in their order.
    ModelFilesModel(AppModel& model, std::vector<KnownModelFile> known);
    ~ModelFilesModel() override;
    ModelFilesModel(const ModelFilesModel&) = delete;
    ModelFilesModel& operator=(const ModelFilesModel&) = delete;

    /// Those that this program knows.
    static std::vector<KnownModelFile> knownFiles();

    /// Maps of `name`, `title`, `cost`, `size`, `state` ("absent", "downloading", "verifying" or "installed"), `share`,
    /// `failure`, `isUsual`, `isAlternative` and `isInUse`: what is known, then what is installed besides.
    QVariantList speechRows() const;
    QVariantList languageRows() const;

    /// The row of the file that is on its way, else of the recommended one, as long as none of its kind is installed;
    /// empty otherwise.
    QVariantMap speechOffer() const { return offer(ModelFileKind::speech); }

    QVariantMap languageOffer() const { return offer(ModelFileKind::language); }

    /// A file of the user's own is being tried and copied.
    bool isInstalling() const { return isInstalling_; }

    /// Why that did not work; empty when it did.
    QString installFailure() const;

    Q_INVOKABLE void download(const QString& name);
    Q_INVOKABLE void cancel(const QString& name);

    /// Ends all downloads, so that nobody waits for them; what has arrived is kept.
    void pauseDownloads();
    Q_INVOKABLE void use(const QString& name);
    Q_INVOKABLE void remove(const QString& name);

    /// A file of the user's own.
    Q_INVOKABLE void install(const QUrl& file);

Q_SIGNALS:
    void changed();

private:
    struct Download {
        std::shared_ptr<ModelFileProgress> progress; ///< null when it has ended
        std::optional<ModelFileError> failure;
    };

    Task<void> downloadNow(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress);
    Task<void> installNow(std::filesystem::path file);
    Task<void> removeNow(std::string name);
    void noteAttempt(const std::string& name, std::optional<ModelFileError> failure);
    void endDownload(const std::string& name, std::optional<ModelFileError> failure);
    void endInstallation(std::optional<ModelFileError> failure);
    void lookAtFolder();
    const KnownModelFile* known(const std::string& name) const;
    bool isOnItsWay(const std::string& name) const;
    QVariantMap row(const KnownModelFile& file) const;
    QVariantMap ownRow(const std::string& name, ModelFileKind kind) const;
    QVariantMap rowOf(const std::string& name, ModelFileKind kind) const;
    static void show(const ModelFileProgress& progress, QVariantMap& row);
    void appendRows(QVariantList& rows, ModelFileKind kind) const;
    QVariantMap offer(ModelFileKind kind) const;
    QString sentence(const std::optional<ModelFileError>& failure) const;

    AppModel& model_;
    const std::vector<KnownModelFile> known_;
    std::map<ModelFileKind, std::vector<std::string>> installed_;
    std::map<std::string, Download> downloads_; ///< by the file's name
    bool isInstalling_{false};
    std::optional<ModelFileError> installFailure_;
    QTimer progressClock_;
    std::shared_ptr<ModelFilesModel*> self_; ///< what runs on knows by it whether this is still there
};

} // namespace talkledger
