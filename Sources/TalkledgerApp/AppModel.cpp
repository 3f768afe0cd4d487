#include "TalkledgerApp/AppModel.h"

#include "TalkledgerCore/Capture/LiveAudioRecorders.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/Uuid.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <QClipboard>
#include <QGuiApplication>
#include <QLocale>
#include <algorithm>
#include <chrono>
#include <exception>
#include <iterator>
#include <utility>

namespace talkledger {
namespace {

const QString displayLanguageKey = QStringLiteral("displayLanguage");
const QString markdownExportDirectoryKey = QStringLiteral("markdownExportDirectory");

/// The recogniser is asked for this language first, whatever the screens speak.
constexpr const char* speechLocale = "ja_JP";

DisplayLanguage storedLanguage(const QSettings& settings) {
    const bool isEnglish = settings.value(displayLanguageKey).toString() == QLatin1String("english");
    return isEnglish ? DisplayLanguage::english : DisplayLanguage::japanese;
}

std::optional<std::filesystem::path> storedFolder(const QSettings& settings) {
    const QString folder = settings.value(markdownExportDirectoryKey).toString();
    return folder.isEmpty() ? std::nullopt : std::optional<std::filesystem::path>(folder.toStdString());
}

} // namespace

AppModel::AppModel(const AppPorts& ports, std::shared_ptr<CaptureReports> captureReports, Executor main,
                   const Executor& background, QSettings& settings)
    : displayLanguage_(storedLanguage(settings)),
      statusText_(copy().ready()),
      main_(std::move(main)),
      settings_(settings),
      captureReports_(std::move(captureReports)),
      tracks_(captureReports_),
      markdownExporter_(ports.fileSystem) {
    connect(&tracks_, &RecordingTracks::microphoneLevelChanged, this, &AppModel::microphoneLevelChanged);
    markdownExportDirectory_ = storedFolder(settings_);
    createStore(ports.fileSystem);
    if (store_) {
        createCoordinator(*store_, ports, background);
    }
    refreshSessions();
    permissions_ = CapturePermissionInspector::quickSnapshot(ports.authorization);
}

void AppModel::createStore(FileSystem& fileSystem) {
    try {
        store_.emplace(RecordingStore::defaultRootDirectory(fileSystem), fileSystem);
        rootDirectory_ = store_->rootDirectory();
    } catch (const std::exception& error) {
        setFailedStatusText(copy().storageUnavailable());
        setLastError(error.what());
    }
}

void AppModel::createCoordinator(RecordingStore& store, const AppPorts& ports, const Executor& background) {
    const auto timeline = std::make_shared<RecordingTimelineRecorder>(ports.fileSystem, background);
    const auto relayTo = [this](AudioChannel channel) {
        return [this, channel](SharedAudioBuffer buffer) { liveAudioBufferRelay_.append(std::move(buffer), channel); };
    };
    auto microphone = std::make_shared<MicrophoneWAVRecorder>(
        ports.audioInput, ports.audioFiles, ports.authorization, ports.fileSystem, background, timeline,
        [reports = captureReports_](double level) { reports->reportMicrophoneLevel(level); },
        relayTo(AudioChannel::mic));
    auto systemAudio = std::make_shared<SystemAudioM4ARecorder>(ports.systemAudio, ports.audioFiles, ports.fileSystem,
                                                                timeline, relayTo(AudioChannel::speaker));
    auto transcripts = std::make_unique<RecordedArtifactTranscriptProvider>(
        speechLocale, QLocale::system().name().toStdString(), RecordedArtifactTranscriptMode::finalAccuracy,
        ports.speechRecognition, ports.fileSystem, [this](AudioChannel channel, double share) {
            if (currentSession_) { // the one that has been stopped, until it is saved
                tracks_.setTranscribedShare(channel, share);
            }
        });
    coordinator_ = std::make_unique<RecordingCoordinator>(
        store, std::move(microphone), std::move(systemAudio), std::move(transcripts),
        std::make_unique<FoundationModelsSalesSummaryGenerator>(ports.languageModel),
        RecordingArtifactDiagnosticsBuilder(ports.fileSystem, ports.audioFiles));
}

void AppModel::startRecording() {
    if (isBusy_) {
        return;
    }
    setIsBusy(true);
    boost::asio::co_spawn(main_, startRecordingNow(), boost::asio::detached);
}

Task<void> AppModel::startRecordingNow() {
    if (!coordinator_) {
        setFailedStatusText(copy().recorderUnavailable());
        setIsBusy(false);
        co_return;
    }
    setLastError(std::nullopt);
    setStatusText(copy().startingCapture());
    if (!isRecording_) { // or the start fails, and the recording in progress goes on
        tracks_.begin();
    }
    std::optional<std::string> failure;
    bool noTrackStarted = false;
    try {
        const std::string title = defaultRecordingTitle();
        co_await coordinator_->start(title);
    } catch (const RecordingCoordinatorError& error) {
        failure = error.what();
        noTrackStarted = error.failure() == RecordingCoordinatorError::Case::noCaptureTrackStarted;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    followCoordinator();
    if (failure) {
        setFailedStatusText(copy().startFailed());
        setLastError(std::move(failure), noTrackStarted);
    } else {
        setStatusText(copy().recordingMicAndSystemAudio());
    }
    refreshSessions();
    setIsBusy(false);
}

void AppModel::stopRecording() {
    if (isBusy_) {
        return;
    }
    setIsBusy(true);
    boost::asio::co_spawn(main_, stopRecordingNow(), boost::asio::detached);
}

Task<void> AppModel::stopRecordingNow() {
    if (!coordinator_) {
        setFailedStatusText(copy().recorderUnavailable());
        setIsBusy(false);
        co_return;
    }
    setLastError(std::nullopt);
    setStatusText(copy().stoppingAndTranscribing());
    tracks_.endCapture();
    std::optional<RecordingSession> finished;
    std::optional<std::string> failure;
    try {
        finished = co_await coordinator_->stop();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const std::vector<std::string> trackMessages = tracks_.messages();
    followCoordinator();
    if (failure) {
        setFailedStatusText(copy().stopFailed());
        setLastError(std::move(failure));
        refreshSessions();
    } else if (finished) {
        setStatusText(copy().recordingSaved());
        keepMessages(trackMessages, *finished);
        refreshSessions();
        exportMarkdown(*finished);
    }
    setIsBusy(false);
}

std::string AppModel::defaultRecordingTitle() const {
    return copy().sessionTitlePrefix() + " " + formatLocalDateTime(std::chrono::system_clock::now());
}

/// The coordinator knows what is captured, also after a failure: a start that failed to write its diagnostics has
/// tracks that run, and a stop that failed has none.
void AppModel::followCoordinator() {
    const std::optional<RecordingSession> session = coordinator_->currentSession();
    setCurrentSession(session);
    setIsRecording(coordinator_->isRecording());
    if (!session) {
        tracks_.end();
    } else if (const auto begun = diagnostics(*session)) {
        tracks_.setStarted(*begun);
    }
}

/// The coordinator does not see what the tracks went through: that joins its messages here.
void AppModel::keepMessages(const std::vector<std::string>& messages, const RecordingSession& session) {
    if (!store_ || messages.empty()) {
        return;
    }
    try {
        RecordingDiagnostics diagnostics = store_->loadDiagnostics(session);
        std::ranges::copy(messages, std::back_inserter(diagnostics.messages));
        store_->saveDiagnostics(diagnostics, session);
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

void AppModel::refreshSessions() {
    if (!store_) {
        return;
    }
    try {
        std::vector<RecordingSession> loaded = store_->loadSessions();
        std::stable_sort(loaded.begin(), loaded.end(), [](const RecordingSession& left, const RecordingSession& right) {
            return left.startedAt > right.startedAt;
        });
        sessions_ = std::move(loaded);
        Q_EMIT sessionsChanged();
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

void AppModel::dismissLastError() {
    setLastError(std::nullopt);
}

void AppModel::setDisplayLanguage(DisplayLanguage language) {
    displayLanguage_ = language;
    settings_.setValue(displayLanguageKey, displayLanguageName());
    Q_EMIT displayLanguageChanged();
    setStatusText(isRecording_ ? copy().recordingMicAndSystemAudio() : copy().ready());
}

void AppModel::rename(const RecordingSession& session, const std::string& title) {
    setLastError(std::nullopt);
    if (!store_) {
        setLastError(copy().storageUnavailable());
        return;
    }
    try {
        const RecordingSession renamed = store_->renameSession(session, title);
        if (currentSession_ && currentSession_->id == renamed.id) {
            setCurrentSession(renamed);
        }
        setStatusText(copy().recordingRenamed());
        refreshSessions();
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

void AppModel::copyTranscriptMarkdown(const RecordingSession& session) {
    setLastError(std::nullopt);
    if (!store_) {
        setLastError(copy().storageUnavailable());
        return;
    }
    try {
        const std::string document =
            markdownDocumentBuilder_.build(session, store_->loadTranscript(session), listSummary(session), copy());
        QGuiApplication::clipboard()->setText(QString::fromStdString(document));
        setStatusText(copy().transcriptCopied());
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

void AppModel::exportTranscriptMarkdown(const RecordingSession& session) {
    setLastError(std::nullopt);
    exportMarkdown(session);
}

void AppModel::exportMarkdown(const RecordingSession& session) {
    if (!store_) {
        setFailedStatusText(copy().transcriptExportFailed());
        setLastError(copy().storageUnavailable());
        return;
    }
    try {
        const TranscriptDocument transcript = store_->loadTranscript(session);
        const std::filesystem::path folder =
            markdownExportDirectory_ ? *markdownExportDirectory_ : markdownExporter_.defaultExportDirectory();
        lastMarkdownExportURL_ =
            markdownExporter_.exportDocument(session, transcript, listSummary(session), folder, copy());
        Q_EMIT lastMarkdownExportURLChanged();
        setStatusText(copy().transcriptExported());
    } catch (const std::exception& error) {
        setFailedStatusText(copy().transcriptExportFailed());
        setLastError(error.what());
    }
}

std::optional<TranscriptDocument> AppModel::transcript(const RecordingSession& session) const {
    return loaded([&] { return store_->loadTranscript(session); });
}

std::optional<SalesSummary> AppModel::listSummary(const RecordingSession& session) const {
    return loaded([&] { return store_->loadSummary(session); });
}

std::optional<RecordingDiagnostics> AppModel::diagnostics(const RecordingSession& session) const {
    return loaded([&] { return store_->loadDiagnostics(session); });
}

/// What there is of it: a recording that lacks a file is shown without.
template <typename Load>
auto AppModel::loaded(Load load) const -> std::optional<decltype(load())> {
    if (!store_) {
        return std::nullopt;
    }
    try {
        return load();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

const RecordingSession* AppModel::session(const QString& recordingID) const {
    const std::string identifier = recordingID.toStdString();
    const auto found = std::find_if(sessions_.begin(), sessions_.end(), [&](const RecordingSession& session) {
        return uuidText(session.id) == identifier;
    });
    return found == sessions_.end() ? nullptr : &*found;
}

QString AppModel::displayLanguageName() const {
    const std::string_view name = rawValue(displayLanguage_);
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

void AppModel::setDisplayLanguageName(const QString& name) {
    if (const auto language = fromRawValue<DisplayLanguage>(name.toStdString())) {
        setDisplayLanguage(*language);
    }
}

QString AppModel::statusTextForScreen() const {
    return QString::fromStdString(statusText_);
}

QString AppModel::lastErrorForScreen() const {
    return QString::fromStdString(lastError_.value_or(std::string()));
}

QString AppModel::currentRecordingID() const {
    return currentSession_ ? QString::fromStdString(uuidText(currentSession_->id)) : QString();
}

double AppModel::currentRecordingStart() const {
    if (!currentSession_) {
        return 0;
    }
    return std::chrono::duration<double, std::milli>(currentSession_->startedAt.time_since_epoch()).count();
}

void AppModel::copyTranscriptMarkdown(const QString& recordingID) {
    if (const RecordingSession* const found = session(recordingID)) {
        copyTranscriptMarkdown(RecordingSession(*found));
    }
}

void AppModel::exportTranscriptMarkdown(const QString& recordingID) {
    if (const RecordingSession* const found = session(recordingID)) {
        exportTranscriptMarkdown(RecordingSession(*found));
    }
}

void AppModel::setIsRecording(bool isRecording) {
    if (std::exchange(isRecording_, isRecording) != isRecording) {
        Q_EMIT isRecordingChanged();
    }
}

void AppModel::setStatusText(std::string text) {
    statusText_ = std::move(text);
    statusIsFailure_ = false;
    Q_EMIT statusTextChanged();
}

void AppModel::setFailedStatusText(std::string text) {
    statusText_ = std::move(text);
    statusIsFailure_ = true;
    Q_EMIT statusTextChanged();
}

void AppModel::setLastError(std::optional<std::string> description, bool noTrackStarted) {
    lastError_ = std::move(description);
    noTrackStarted_ = noTrackStarted;
    Q_EMIT lastErrorChanged();
}

void AppModel::setCurrentSession(std::optional<RecordingSession> session) {
    currentSession_ = std::move(session);
    Q_EMIT currentSessionChanged();
}

void AppModel::setIsBusy(bool isBusy) {
    if (std::exchange(isBusy_, isBusy) != isBusy) {
        Q_EMIT isBusyChanged();
    }
}

} // namespace talkledger
