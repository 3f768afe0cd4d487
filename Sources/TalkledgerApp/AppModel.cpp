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

QString trackName(TrackState state) {
    switch (state) {
    case TrackState::notStarted:
        return QStringLiteral("notStarted");
    case TrackState::running:
        return QStringLiteral("running");
    case TrackState::waitingForDevice:
        return QStringLiteral("waitingForDevice");
    case TrackState::writeFailed:
        return QStringLiteral("writeFailed");
    }
    return {};
}

} // namespace

AppModel::AppModel(const AppPorts& ports, std::shared_ptr<CaptureReports> captureReports, Executor main,
                   const Executor& background, QSettings& settings)
    : displayLanguage_(storedLanguage(settings)),
      statusText_(copy().ready()),
      main_(std::move(main)),
      settings_(settings),
      captureReports_(std::move(captureReports)),
      markdownExporter_(ports.fileSystem) {
    markdownExportDirectory_ = storedFolder(settings_);
    createStore(ports.fileSystem);
    if (store_) {
        createCoordinator(ports, background);
    }
    refreshSessions();
    permissions_ = CapturePermissionInspector::quickSnapshot(ports.authorization);
}

AppModel::~AppModel() = default;

void AppModel::createStore(FileSystem& fileSystem) {
    try {
        store_.emplace(RecordingStore::defaultRootDirectory(fileSystem), fileSystem);
        rootDirectory_ = store_->rootDirectory();
    } catch (const std::exception& error) {
        setStatusText(copy().storageUnavailable());
        setLastError(error.what());
    }
}

void AppModel::createCoordinator(const AppPorts& ports, const Executor& background) {
    const auto timeline = std::make_shared<RecordingTimelineRecorder>(ports.fileSystem, background);
    const auto relayTo = [this](AudioChannel channel) {
        return [this, channel](SharedAudioBuffer buffer) { liveAudioBufferRelay_.append(std::move(buffer), channel); };
    };
    auto microphone = std::make_shared<MicrophoneWAVRecorder>(
        ports.audioInput, ports.audioFiles, ports.authorization, ports.fileSystem, timeline,
        [reports = captureReports_](double level) { reports->reportMicrophoneLevel(level); },
        relayTo(AudioChannel::mic));
    auto systemAudio = std::make_shared<SystemAudioM4ARecorder>(ports.systemAudio, ports.audioFiles, ports.fileSystem,
                                                                timeline, relayTo(AudioChannel::speaker));
    auto transcripts = std::make_unique<RecordedArtifactTranscriptProvider>(
        speechLocale, QLocale::system().name().toStdString(), RecordedArtifactTranscriptMode::finalAccuracy,
        ports.speechRecognition, ports.fileSystem,
        [this](AudioChannel channel, double share) { setTranscriptionProgress(channel, share); });
    coordinator_ = std::make_unique<RecordingCoordinator>(
        *store_, std::move(microphone), std::move(systemAudio), std::move(transcripts),
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
        setStatusText(copy().recorderUnavailable());
        setIsBusy(false);
        co_return;
    }
    setLastError(std::nullopt);
    setStatusText(copy().startingCapture());
    beginReports();
    std::optional<std::string> failure;
    try {
        const std::string title = defaultRecordingTitle();
        co_await coordinator_->start(title);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    followCoordinator();
    if (failure) {
        setStatusText(copy().startFailed());
        setLastError(std::move(failure));
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
        setStatusText(copy().recorderUnavailable());
        setIsBusy(false);
        co_return;
    }
    setLastError(std::nullopt);
    setStatusText(copy().stoppingAndTranscribing());
    std::optional<RecordingSession> finished;
    std::optional<std::string> failure;
    try {
        finished = co_await coordinator_->stop();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    followCoordinator();
    if (failure) {
        setStatusText(copy().stopFailed());
        setLastError(std::move(failure));
        refreshSessions();
    } else if (finished) {
        setStatusText(copy().recordingSaved());
        refreshSessions();
        exportMarkdown(*finished);
    }
    setIsBusy(false);
}

std::string AppModel::defaultRecordingTitle() const {
    return copy().sessionTitlePrefix() + " " + formatLocalDateTime(std::chrono::system_clock::now());
}

void AppModel::beginReports() {
    trackHealth_ = {};
    startedTracks_.clear();
    transcriptionProgress_.clear();
    captureReports_->beginRecording([this](double level) { setMicrophoneLevel(level); },
                                    [this](AudioChannel channel, TrackHealthEvent event) {
                                        trackHealth_.apply(channel, event);
                                        Q_EMIT trackStatesChanged();
                                    });
    Q_EMIT trackStatesChanged();
    Q_EMIT transcriptionProgressChanged();
}

void AppModel::endReports() {
    captureReports_->endRecording();
    trackHealth_ = {};
    startedTracks_.clear();
    transcriptionProgress_.clear();
    setMicrophoneLevel(0);
    Q_EMIT trackStatesChanged();
    Q_EMIT transcriptionProgressChanged();
}

/// The coordinator knows what is captured, also after a failure: a start that failed to write its diagnostics has
/// tracks that run, and a stop that failed has none.
void AppModel::followCoordinator() {
    setCurrentSession(coordinator_->currentSession());
    setIsRecording(coordinator_->isRecording());
    if (isRecording_) {
        readStartedTracks();
    } else {
        endReports();
    }
}

void AppModel::readStartedTracks() {
    try {
        const RecordingDiagnostics diagnostics = store_->loadDiagnostics(*currentSession_);
        startedTracks_[AudioChannel::mic] = diagnostics.microphoneStarted;
        startedTracks_[AudioChannel::speaker] = diagnostics.systemAudioStarted;
    } catch (const std::exception&) {
        startedTracks_.clear();
    }
    Q_EMIT trackStatesChanged();
}

TrackState AppModel::trackState(AudioChannel channel) const {
    const auto started = startedTracks_.find(channel);
    if (started != startedTracks_.end() && !started->second) {
        return TrackState::notStarted;
    }
    switch (trackHealth_.condition(channel)) {
    case TrackCondition::waitingForDevice:
        return TrackState::waitingForDevice;
    case TrackCondition::writeFailed:
        return TrackState::writeFailed;
    case TrackCondition::running:
        break;
    }
    return TrackState::running;
}

/// Only a stop transcribes, and the recording that it stops is the current one until it ends.
void AppModel::setTranscriptionProgress(AudioChannel channel, double share) {
    if (!currentSession_) {
        return;
    }
    transcriptionProgress_[channel] = std::clamp(share, 0.0, 1.0);
    Q_EMIT transcriptionProgressChanged();
}

double AppModel::transcriptionProgress(AudioChannel channel) const {
    const auto progress = transcriptionProgress_.find(channel);
    return progress == transcriptionProgress_.end() ? 0 : progress->second;
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
        setStatusText(copy().transcriptExportFailed());
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
        setStatusText(copy().transcriptExportFailed());
        setLastError(error.what());
    }
}

std::optional<TranscriptDocument> AppModel::transcript(const RecordingSession& session) const {
    if (!store_) {
        return std::nullopt;
    }
    try {
        return store_->loadTranscript(session);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<SalesSummary> AppModel::listSummary(const RecordingSession& session) const {
    if (!store_) {
        return std::nullopt;
    }
    try {
        return store_->loadSummary(session);
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

QString AppModel::microphoneTrackName() const {
    return trackName(trackState(AudioChannel::mic));
}

QString AppModel::systemAudioTrackName() const {
    return trackName(trackState(AudioChannel::speaker));
}

double AppModel::transcriptionProgressOfBoth() const {
    return (transcriptionProgress(AudioChannel::mic) + transcriptionProgress(AudioChannel::speaker)) / 2;
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
    Q_EMIT statusTextChanged();
}

void AppModel::setLastError(std::optional<std::string> description) {
    lastError_ = std::move(description);
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

void AppModel::setMicrophoneLevel(double level) {
    microphoneLevel_ = level;
    Q_EMIT microphoneLevelChanged();
}

} // namespace talkledger
