#include "TalkledgerApp/ModelFilesModel.h"

#include "TalkledgerApp/ScreenText.h"
#include "TalkledgerCore/Presentation/ModelFilePresentation.h"
#include "TalkledgerCore/Storage/ModelCatalogue.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>

#include <QFile>
#include <algorithm>
#include <exception>
#include <utility>

namespace talkledger {
namespace {

constexpr int progressMilliseconds = 200;

constexpr ModelFileKind allKinds[] = {ModelFileKind::speech, ModelFileKind::voice, ModelFileKind::language};

/// What failed, also where it is none of the files' own errors.
ModelFileError currentFailure() {
    try {
        throw;
    } catch (const ModelFileError& error) {
        return error;
    } catch (const std::exception& error) {
        return ModelFileError(ModelFileError::Case::notWritable, error.what());
    }
}

} // namespace

ModelFilesModel::ModelFilesModel(AppModel& model, std::vector<KnownModelFile> known)
    : model_(model), known_(std::move(known)), self_(std::make_shared<ModelFilesModel*>(this)) {
    progressClock_.setInterval(progressMilliseconds);
    connect(&progressClock_, &QTimer::timeout, this, &ModelFilesModel::changed);
    connect(&model, &AppModel::displayLanguageChanged, this, &ModelFilesModel::changed);
    lookAtFolder();
}

ModelFilesModel::~ModelFilesModel() = default;

std::vector<KnownModelFile> ModelFilesModel::knownFiles() {
    QFile file(QStringLiteral(":/talkledger/ModelFiles.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return readModelCatalogue(file.readAll().toStdString(), {.name = "ModelFiles.json", .advice = {}});
}

QVariantList ModelFilesModel::speechRows() const {
    QVariantList rows;
    appendRows(rows, ModelFileKind::speech);
    appendRows(rows, ModelFileKind::voice);
    return rows;
}

QVariantList ModelFilesModel::languageRows() const {
    QVariantList rows;
    appendRows(rows, ModelFileKind::language);
    return rows;
}

void ModelFilesModel::appendRows(QVariantList& rows, ModelFileKind kind) const {
    for (const KnownModelFile& file : known_) {
        if (file.kind == kind) {
            rows.append(row(file));
        }
    }
    for (const std::string& name : installed_.at(kind)) {
        if (known(name) == nullptr) {
            rows.append(ownRow(name, kind));
        }
    }
}

QVariantMap ModelFilesModel::row(const KnownModelFile& file) const {
    const AppCopy copy = model_.copy();
    const std::string cost = modelFileText(file.cost, copy);
    QVariantMap row = rowOf(file.name, file.kind);
    row[QStringLiteral("title")] = screenText(modelFileText(file.title, copy));
    row[QStringLiteral("cost")] = screenText(file.isRecommended ? copy.recommended() + copy.listComma() + cost : cost);
    row[QStringLiteral("isUsual")] = file.isUsual;
    row[QStringLiteral("isRecommended")] = file.isRecommended;
    if (row[QStringLiteral("size")].toString().isEmpty()) {
        row[QStringLiteral("size")] = screenText(modelFileSize(file.bytes));
    }
    return row;
}

QVariantMap ModelFilesModel::ownRow(const std::string& name, ModelFileKind kind) const {
    QVariantMap row = rowOf(name, kind);
    row[QStringLiteral("title")] = screenText(name);
    row[QStringLiteral("cost")] = screenText(model_.copy().ownModelFile());
    row[QStringLiteral("isUsual")] = true;
    return row;
}

/// What holds for every file of that name.
QVariantMap ModelFilesModel::rowOf(const std::string& name, ModelFileKind kind) const {
    const std::vector<std::string>& installed = installed_.at(kind);
    const bool isInstalled = std::ranges::find(installed, name) != installed.end();
    QVariantMap row{
        {QStringLiteral("name"), screenText(name)},
        {QStringLiteral("state"), isInstalled ? QStringLiteral("installed") : QStringLiteral("absent")},
        {QStringLiteral("isAlternative"), kind != ModelFileKind::voice},
        {QStringLiteral("isInUse"), isInstalled && kind != ModelFileKind::voice && installed.front() == name},
        {QStringLiteral("share"), 0.0},
        {QStringLiteral("size"), QString()},
        {QStringLiteral("failure"), QString()}};
    if (const auto download = downloads_.find(name); download != downloads_.end()) {
        row[QStringLiteral("failure")] = sentence(download->second.failure);
        if (const auto& progress = download->second.progress) {
            show(*progress, row);
        }
    }
    return row;
}

void ModelFilesModel::show(const ModelFileProgress& progress, QVariantMap& row) {
    const std::int64_t total = progress.total;
    row[QStringLiteral("state")] =
        progress.isBeingVerified ? QStringLiteral("verifying") : QStringLiteral("downloading");
    if (total > 0) {
        row[QStringLiteral("share")] = static_cast<double>(progress.received) / static_cast<double>(total);
        row[QStringLiteral("size")] = screenText(modelFileProgress(progress.received, total));
    }
}

QVariantMap ModelFilesModel::offer(ModelFileKind kind) const {
    if (!installed_.at(kind).empty()) {
        return {};
    }
    const KnownModelFile* offered = nullptr;
    for (const KnownModelFile& file : known_) {
        if (file.kind == kind && (isOnItsWay(file.name) || (file.isRecommended && offered == nullptr))) {
            offered = &file;
        }
    }
    return offered == nullptr ? QVariantMap() : row(*offered);
}

bool ModelFilesModel::isOnItsWay(const std::string& name) const {
    const auto download = downloads_.find(name);
    return download != downloads_.end() && download->second.progress != nullptr;
}

QString ModelFilesModel::installFailure() const {
    return sentence(installFailure_);
}

QString ModelFilesModel::sentence(const std::optional<ModelFileError>& failure) const {
    return failure ? screenText(modelFileFailure(*failure, model_.copy())) : QString();
}

const KnownModelFile* ModelFilesModel::known(const std::string& name) const {
    const auto file = std::ranges::find(known_, name, &KnownModelFile::name);
    return file == known_.end() ? nullptr : &*file;
}

void ModelFilesModel::download(const QString& name) {
    const KnownModelFile* const file = known(name.toStdString());
    if (file == nullptr || downloads_[file->name].progress) {
        return;
    }
    const auto progress = std::make_shared<ModelFileProgress>();
    downloads_[file->name] = {.progress = progress, .failure = {}};
    progressClock_.start();
    boost::asio::co_spawn(model_.mainExecutor(), downloadNow(*file, progress), boost::asio::detached);
    boost::asio::post(model_.mainExecutor(), [weak = std::weak_ptr(self_)] {
        if (const auto self = weak.lock()) {
            (*self)->model_.modelFilesChanged(); // by then it is on its way
        }
    });
    Q_EMIT changed();
}

Task<void> ModelFilesModel::downloadNow(KnownModelFile file, std::shared_ptr<ModelFileProgress> progress) {
    const std::weak_ptr<ModelFilesModel*> weak = self_;
    std::optional<ModelFileError> failure;
    try {
        co_await model_.ports().modelFiles.download(file, std::move(progress));
    } catch (const std::exception&) {
        failure = currentFailure();
    }
    if (const auto self = weak.lock()) {
        (*self)->endDownload(file.name, std::move(failure));
    }
}

void ModelFilesModel::endDownload(const std::string& name, std::optional<ModelFileError> failure) {
    downloads_[name] = {.progress = nullptr, .failure = std::move(failure)};
    if (std::ranges::none_of(downloads_, [](const auto& download) { return download.second.progress != nullptr; })) {
        progressClock_.stop();
    }
    lookAtFolder();
}

void ModelFilesModel::cancel(const QString& name) {
    const auto download = downloads_.find(name.toStdString());
    if (download != downloads_.end() && download->second.progress) {
        download->second.progress->end = ModelFileProgress::End::cancelled;
    }
}

void ModelFilesModel::pauseDownloads() {
    for (const auto& [name, download] : downloads_) {
        if (download.progress) {
            download.progress->end = ModelFileProgress::End::paused;
        }
    }
}

void ModelFilesModel::use(const QString& name) {
    std::optional<ModelFileError> failure;
    try {
        model_.ports().modelFiles.prefer(name.toStdString());
    } catch (const ModelFileError& error) {
        failure = error;
    }
    noteAttempt(name.toStdString(), std::move(failure));
}

void ModelFilesModel::remove(const QString& name) {
    boost::asio::co_spawn(model_.mainExecutor(), removeNow(name.toStdString()), boost::asio::detached);
}

Task<void> ModelFilesModel::removeNow(std::string name) {
    const std::weak_ptr<ModelFilesModel*> weak = self_;
    std::optional<ModelFileError> failure;
    try {
        co_await model_.ports().modelFiles.remove(name);
    } catch (const std::exception&) {
        failure = currentFailure();
    }
    if (const auto self = weak.lock()) {
        (*self)->noteAttempt(name, std::move(failure));
    }
}

void ModelFilesModel::noteAttempt(const std::string& name, std::optional<ModelFileError> failure) {
    downloads_[name].failure = std::move(failure);
    lookAtFolder();
}

void ModelFilesModel::install(const QUrl& file) {
    if (isInstalling_ || !file.isLocalFile()) {
        return;
    }
    isInstalling_ = true;
    installFailure_.reset();
    boost::asio::co_spawn(model_.mainExecutor(), installNow(file.toLocalFile().toStdString()), boost::asio::detached);
    Q_EMIT changed();
}

Task<void> ModelFilesModel::installNow(std::filesystem::path file) {
    const std::weak_ptr<ModelFilesModel*> weak = self_;
    std::optional<ModelFileError> failure;
    try {
        co_await model_.ports().modelFiles.install(std::move(file));
    } catch (const std::exception&) {
        failure = currentFailure();
    }
    if (const auto self = weak.lock()) {
        (*self)->endInstallation(std::move(failure));
    }
}

void ModelFilesModel::endInstallation(std::optional<ModelFileError> failure) {
    isInstalling_ = false;
    installFailure_ = std::move(failure);
    lookAtFolder();
}

void ModelFilesModel::lookAtFolder() {
    for (const ModelFileKind kind : allKinds) {
        installed_[kind] = model_.ports().modelFiles.installed(kind);
    }
    model_.modelFilesChanged();
    Q_EMIT changed();
}

} // namespace talkledger
