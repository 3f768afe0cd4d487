#include "TalkledgerApp/AppModel.h"

#include "TalkledgerCore/Capture/AudioLevelMeter.h"
#include "TalkledgerCore/Capture/LiveAudioRecorders.h"
#include "TalkledgerCore/Presentation/RecordingActionPresentation.h"
#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"
#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/RunOn.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <QLocale>
#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
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

std::string currentLocale() {
    return QLocale::system().name().toStdString();
}

std::optional<std::filesystem::path> storedFolder(const QSettings& settings) {
    const QString folder = settings.value(markdownExportDirectoryKey).toString();
    return folder.isEmpty() ? std::nullopt : std::optional<std::filesystem::path>(folder.toStdString());
}

} // namespace

AppModel::AppModel(const AppPorts& ports, std::shared_ptr<CaptureReports> captureReports, Executor main,
                   const Executor& background, QSettings& settings, LiveSummary::Interval liveSummaryInterval)
    : displayLanguage_(storedLanguage(settings)),
      statusText_(copy().ready()),
      ports_(ports),
      main_(std::move(main)),
      background_(background),
      settings_(settings),
      captureReports_(std::move(captureReports)),
      tracks_(captureReports_),
      timeline_(std::make_shared<RecordingTimelineRecorder>(ports.fileSystem, background)),
      liveTranscription_(ports.speechRecognition, ports.audioConversion, liveAudioBufferRelay_, main_),
      liveSummary_(ports.languageModel, main_, liveSummaryInterval),
      markdownExporter_(ports.fileSystem),
      library_([this] { return store_->loadSessions(); }, main_, background) {
    connect(&tracks_, &RecordingTracks::microphoneLevelChanged, this, &AppModel::microphoneLevelChanged);
    for (const auto change :
         {&AppModel::isRecordingChanged, &AppModel::isBusyChanged, &AppModel::displayLanguageChanged}) {
        connect(this, change, this, &AppModel::recordingActionChanged);
    }
    connect(&liveTranscription_, &LiveTranscription::listeningChanged, this, &AppModel::listeningChanged);
    connect(&library_, &RecordingLibrary::changed, this, &AppModel::sessionsChanged);
    connect(&library_, &RecordingLibrary::failed, this, [this](const std::string& why) { setLastError(why); });
    markdownExportDirectory_ = storedFolder(settings_);
    createStore();
    if (store_) {
        createCoordinator(*store_);
        liveTranscriptKeeper_.emplace(*store_, main_, background);
    }
    refreshSessions();
    boost::asio::co_spawn(main_, findPermissions(), boost::asio::detached);
    boost::asio::co_spawn(main_, findWhetherSpeechIsOffered(), boost::asio::detached);
}

void AppModel::createStore() {
    try {
        store_.emplace(RecordingStore::defaultRootDirectory(ports_.fileSystem), ports_.fileSystem);
        rootDirectory_ = store_->rootDirectory();
    } catch (const std::exception& error) {
        setFailedStatusText(copy().storageUnavailable());
        setLastError(error.what());
    }
}

void AppModel::createCoordinator(RecordingStore& store) {
    const auto relayTo = [this](AudioChannel channel) {
        return [this, channel](SharedAudioBuffer buffer) { liveAudioBufferRelay_.append(std::move(buffer), channel); };
    };
    auto microphone = std::make_shared<MicrophoneWAVRecorder>(
        ports_.audioInput, ports_.audioFiles, ports_.authorization, ports_.fileSystem, background_, timeline_,
        [reports = captureReports_](double level) { reports->reportLevel(AudioChannel::mic, level); },
        relayTo(AudioChannel::mic));
    const auto relaySystemAudio = [reports = captureReports_,
                                   relay = relayTo(AudioChannel::speaker)](SharedAudioBuffer buffer) {
        reports->reportLevel(AudioChannel::speaker, AudioLevelMeter::normalizedLevel(*buffer));
        relay(std::move(buffer));
    };
    auto systemAudio = std::make_shared<SystemAudioM4ARecorder>(ports_.systemAudio, ports_.audioFiles,
                                                                ports_.fileSystem, timeline_, relaySystemAudio);
    auto transcripts =
        makeTranscriptProvider([this](AudioChannel channel, double share) { finishing_.setShare(channel, share); });
    coordinator_ = std::make_unique<RecordingCoordinator>(
        store, std::move(microphone), std::move(systemAudio), std::move(transcripts),
        std::make_unique<FoundationModelsSalesSummaryGenerator>(ports_.languageModel),
        RecordingArtifactDiagnosticsBuilder(ports_.fileSystem, ports_.audioFiles), std::chrono::system_clock::now,
        [this](FinishingStep step) { finishing_.reach(step); });
}

std::unique_ptr<TranscriptProvider> AppModel::makeTranscriptProvider(TranscriptionProgressHandler progress) const {
    return std::make_unique<RecordedArtifactTranscriptProvider>(
        speechLocale, currentLocale(), RecordedArtifactTranscriptMode::finalAccuracy, ports_.speechRecognition,
        ports_.fileSystem, std::move(progress));
}

void AppModel::startRecording() {
    if (isBusy_) {
        return;
    }
    setIsBusy(true);
    boost::asio::co_spawn(main_, findWhetherSpeechIsOffered(), boost::asio::detached);
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
    std::optional<RecordingSession> begun;
    std::optional<std::string> failure;
    bool noTrackStarted = false;
    try {
        const std::string title = defaultRecordingTitle();
        begun = co_await coordinator_->start(title);
    } catch (const RecordingCoordinatorError& error) {
        failure = error.what();
        noTrackStarted = error.failure() == RecordingCoordinatorError::Case::noCaptureTrackStarted;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    followCoordinator();
    if (begun) {
        setStatusText(copy().recordingMicAndSystemAudio());
        startLive(*begun);
        refreshSession(*begun);
    } else {
        stopLive();
        clearLiveTranscript();
        setFailedStatusText(copy().startFailed());
        setLastError(std::move(failure), noTrackStarted);
        refreshSessions();
    }
    setIsBusy(false);
}

void AppModel::stopRecording() {
    if (isBusy_) {
        return;
    }
    setIsBusy(true);
    boost::asio::co_spawn(main_, stopRecordingNow(), boost::asio::detached);
}

void AppModel::toggleRecording() {
    if (isRecording_) {
        stopRecording();
    } else {
        startRecording();
    }
}

Task<void> AppModel::stopRecordingNow() {
    if (!coordinator_) {
        setFailedStatusText(copy().recorderUnavailable());
        setIsBusy(false);
        co_return;
    }
    setLastError(std::nullopt);
    setStatusText(copy().stoppingAndTranscribing());
    stopLive(); // what has been said stays in view until the files are transcribed
    tracks_.endCapture();
    beginFinishing();
    std::optional<RecordingSession> finished;
    std::optional<std::string> failure;
    try {
        finished = co_await coordinator_->stop();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    clearLiveTranscript();
    const std::vector<std::string> trackMessages = tracks_.messages();
    followCoordinator();
    finishing_.end();
    if (failure) {
        setFailedStatusText(copy().stopFailed());
        setLastError(std::move(failure));
        refreshSessions();
    } else if (finished) {
        setStatusText(copy().recordingSaved());
        keepMessages(trackMessages, *finished);
        tellIfSpeechIsNotOffered(*finished);
        refreshSession(*finished);
        exportMarkdown(*finished);
    }
    setIsBusy(false);
}

void AppModel::beginFinishing() {
    if (!currentSession_) {
        return;
    }
    std::set<AudioChannel> channels;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        if (tracks_.hasStarted(channel)) {
            channels.insert(channel);
        }
    }
    finishing_.begin(std::chrono::system_clock::now() - currentSession_->startedAt, channels);
}

/// Both belong to the recording that has just begun.
void AppModel::startLive(const RecordingSession& session) {
    tellIfSpeechIsNotOffered(session);
    const auto applyIfCurrent = [this, id = session.id](const TranscriptSegment& segment) {
        if (currentSession_ && currentSession_->id == id) {
            applyLiveTranscriptSegment(segment);
        }
    };
    if (const std::optional<MonotonicTime> origin = timeline_->origin()) {
        liveTranscription_.start(speechLocale, *origin, applyIfCurrent);
    }
    const auto transcript = [this] { return liveConversation_.transcript(); };
    if (liveTranscriptKeeper_) {
        liveTranscriptKeeper_->begin(session, transcript);
    }
    liveSummary_.start(transcript);
}

void AppModel::stopLive() {
    liveTranscription_.stop();
    liveSummary_.stop();
}

void AppModel::applyLiveTranscriptSegment(const TranscriptSegment& segment) {
    const std::vector<TranscriptLineChange> changes = liveConversation_.apply(segment);
    hasLiveTranscript_ = true;
    if (liveTranscriptKeeper_) {
        liveTranscriptKeeper_->noteChange();
    }
    Q_EMIT liveLinesChanged(changes);
}

void AppModel::clearLiveTranscript() {
    if (liveTranscriptKeeper_) {
        liveTranscriptKeeper_->end();
    }
    liveConversation_.reset();
    hasLiveTranscript_ = false;
}

std::optional<TranscriptDocument> AppModel::liveTranscriptDocument() const {
    return hasLiveTranscript_ ? std::optional(liveConversation_.transcript()) : std::nullopt;
}

void AppModel::modelFilesChanged() {
    boost::asio::co_spawn(main_, findWhetherSpeechIsOffered(), boost::asio::detached);
    liveTranscription_.tryAgain();
    Q_EMIT liveSummary_.changed();
}

Task<void> AppModel::findWhetherSpeechIsOffered() {
    const SpeechTranscriptionConfiguration configuration(speechLocale, currentLocale(),
                                                         RecordedArtifactTranscriptMode::finalAccuracy);
    const bool isOffered = co_await offersTranscription(configuration, ports_.speechRecognition);
    if (std::exchange(isSpeechOffered_, isOffered) != isOffered) {
        Q_EMIT isSpeechOfferedChanged();
    }
}

std::string AppModel::defaultRecordingTitle() const {
    return copy().sessionTitlePrefix() + " " + formatLocalDateTime(std::chrono::system_clock::now());
}

/// The coordinator knows what is captured, also after a failure: a start that failed to write its diagnostics has
/// tracks that run, and a stop that failed has none. A title that was given meanwhile only the store knows.
void AppModel::followCoordinator() {
    const std::optional<RecordingSession> session = coordinator_->currentSession();
    const auto stored = session ? loaded([&] { return store_->loadSession(*session); }) : std::nullopt;
    setCurrentSession(stored ? stored : session);
    setIsRecording(coordinator_->isRecording());
    if (!session) {
        tracks_.end();
    } else if (const auto begun = diagnostics(*session)) {
        tracks_.setStarted(*begun);
    }
}

/// A recording that has words has been transcribed by something.
void AppModel::tellIfSpeechIsNotOffered(const RecordingSession& session) {
    if (!isSpeechOffered_ && transcript(session).value_or(TranscriptDocument()).segments.empty()) {
        keepMessages({AppCopy{DisplayLanguage::english}.noSpeechRecogniser()}, session);
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
    if (store_) {
        library_.reload();
    }
}

void AppModel::refreshSession(const RecordingSession& session) {
    if (!store_) {
        return;
    }
    if (!ports_.fileSystem.fileExists(session.directory)) {
        library_.remove(session);
        return;
    }
    try {
        library_.put(store_->loadSession(session));
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

void AppModel::showError(std::string description) {
    setLastError(std::move(description));
}

void AppModel::dismissLastError() {
    setLastError(std::nullopt);
}

void AppModel::requestCapturePermissions() {
    setLastError(std::nullopt);
    boost::asio::co_spawn(main_, requestCapturePermissionsNow(), boost::asio::detached);
}

/// Whoever has looked at all of them meanwhile knows more.
Task<void> AppModel::findPermissions() {
    const std::function<CapturePermissionSnapshot()> look = [this] {
        return CapturePermissionInspector::quickSnapshot(ports_.authorization);
    };
    const CapturePermissionSnapshot found = co_await runOn(background_, look);
    if (!permissions_) {
        permissions_ = found;
        Q_EMIT permissionsChanged();
    }
}

Task<void> AppModel::requestCapturePermissionsNow() {
    constexpr std::chrono::seconds patience{60};
    setStatusText(copy().requestingPermissions());
    std::optional<std::string> failure;
    try {
        CapturePermissionSnapshot snapshot;
        snapshot.microphone =
            co_await CapturePermissionInspector::requestMicrophoneAccess(ports_.authorization, patience, background_);
        snapshot.screenCapture =
            co_await CapturePermissionInspector::requestScreenCaptureAccess(ports_.authorization, background_);
        snapshot.systemAudio = co_await CapturePermissionInspector::requestSystemAudioAccess(ports_.systemAudio);
        permissions_ = snapshot;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    Q_EMIT permissionsChanged();
    const bool isReady = !failure && isUsable(permissions_->microphone) && isUsable(permissions_->systemAudio);
    setStatusText(isReady ? copy().permissionsReady() : copy().permissionsNeedAttention());
    if (failure) {
        setLastError(std::move(failure));
    }
}

void AppModel::refreshPermissions() {
    boost::asio::co_spawn(main_, refreshPermissionsNow(), boost::asio::detached);
}

Task<void> AppModel::refreshPermissionsNow() {
    permissions_ = co_await CapturePermissionInspector::snapshot(ports_.authorization, ports_.systemAudio, background_);
    Q_EMIT permissionsChanged();
}

void AppModel::openSettings(CapturePermissionKind kind) {
    attempt([&] { ports_.desktop.openSettings(CapturePermissionInspector::settingsURL(kind)); });
}

void AppModel::setDisplayLanguage(DisplayLanguage language) {
    displayLanguage_ = language;
    settings_.setValue(displayLanguageKey, displayLanguageName());
    Q_EMIT displayLanguageChanged();
    setStatusText(isRecording_ ? copy().recordingMicAndSystemAudio() : copy().ready());
}

void AppModel::switchLanguage() {
    setDisplayLanguage(displayLanguage_ == DisplayLanguage::japanese ? DisplayLanguage::english
                                                                     : DisplayLanguage::japanese);
}

void AppModel::rename(const RecordingSession& session, const std::string& title) {
    attempt([&] {
        const RecordingSession renamed = store().renameSession(session, title);
        if (currentSession_ && currentSession_->id == renamed.id) {
            setCurrentSession(renamed);
        }
        setStatusText(copy().recordingRenamed());
        refreshSession(renamed);
    });
}

void AppModel::copyTranscriptMarkdown(const RecordingSession& session) {
    attempt([&] {
        const TranscriptDocument transcript = store().loadTranscript(session);
        ports_.desktop.copyText(markdownDocumentBuilder_.build(session, transcript, storedSummary(session), copy()));
        setStatusText(copy().transcriptCopied());
    });
}

void AppModel::exportTranscriptMarkdown(const RecordingSession& session) {
    setLastError(std::nullopt);
    exportMarkdown(session);
}

void AppModel::exportMarkdown(const RecordingSession& session) {
    try {
        const TranscriptDocument transcript = store().loadTranscript(session);
        lastMarkdownExportURL_ = markdownExporter_.exportDocument(session, transcript, storedSummary(session),
                                                                  markdownExportFolder(), copy());
        Q_EMIT lastMarkdownExportURLChanged();
        setStatusText(copy().transcriptExported());
    } catch (const std::exception& error) {
        setFailedStatusText(copy().transcriptExportFailed());
        setLastError(error.what());
    }
}

std::filesystem::path AppModel::markdownExportFolder() {
    return markdownExportDirectory_ ? *markdownExportDirectory_ : markdownExporter_.defaultExportDirectory();
}

void AppModel::chooseMarkdownExportDirectory() {
    setLastError(std::nullopt);
    boost::asio::co_spawn(main_, chooseMarkdownExportDirectoryNow(), boost::asio::detached);
}

Task<void> AppModel::chooseMarkdownExportDirectoryNow() {
    std::optional<std::string> failure;
    try {
        const std::string prompt = copy().chooseMarkdownExportFolder();
        const std::filesystem::path startFolder = markdownExportFolder();
        const auto chosen = co_await ports_.desktop.chooseFolder(prompt, startFolder);
        if (chosen.has_value()) {
            markdownExportDirectory_ = chosen;
            settings_.setValue(markdownExportDirectoryKey, QString::fromStdString(*chosen));
            Q_EMIT markdownExportDirectoryChanged();
        }
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (failure) {
        setLastError(std::move(failure));
    }
}

/// Before the first export the folder is not there yet.
void AppModel::openMarkdownExportDirectory() {
    attempt([&] {
        const std::filesystem::path folder = markdownExportFolder();
        ports_.fileSystem.createDirectory(folder);
        ports_.desktop.openFolder(folder);
    });
}

void AppModel::openStorageFolder() {
    attempt([&] { ports_.desktop.openFolder(store().rootDirectory()); });
}

/// A failure is shown, like that of any other action.
template <typename Action>
void AppModel::attempt(Action action) {
    setLastError(std::nullopt);
    try {
        action();
    } catch (const std::exception& error) {
        setLastError(error.what());
    }
}

/// Throws when there is none.
RecordingStore& AppModel::store() {
    if (!store_) {
        throw std::runtime_error(copy().storageUnavailable());
    }
    return *store_;
}

std::optional<TranscriptDocument> AppModel::transcript(const RecordingSession& session) const {
    if (isCurrent(session) && hasLiveTranscript_) {
        return liveTranscriptDocument();
    }
    return loaded([&] { return store_->loadTranscript(session); });
}

std::optional<SalesSummary> AppModel::listSummary(const RecordingSession& session) const {
    const std::optional<LiveSummarySnapshot>& live = liveSummarySnapshot();
    if (live && isCurrent(session)) {
        return live->summary;
    }
    return storedSummary(session);
}

std::optional<SalesSummary> AppModel::storedSummary(const RecordingSession& session) const {
    return loaded([&] { return store_->loadSummary(session); });
}

bool AppModel::isCurrent(const RecordingSession& session) const {
    return isRecording_ && currentSession_ && currentSession_->id == session.id;
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
    const auto identifier = parseUuid(recordingID.toStdString());
    const auto found =
        identifier ? std::ranges::find(sessions(), *identifier, &RecordingSession::id) : sessions().end();
    return found == sessions().end() ? nullptr : &*found;
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
    const AppCopy texts = copy();
    const bool isPlain = statusText_ == texts.recordingMicAndSystemAudio();
    if (isPlain && !tracks_.hasStarted(AudioChannel::mic)) {
        return QString::fromStdString(texts.recordingSystemAudioOnly());
    }
    if (isPlain && !tracks_.hasStarted(AudioChannel::speaker)) {
        return QString::fromStdString(texts.recordingMicrophoneOnly());
    }
    return QString::fromStdString(statusText_);
}

QString AppModel::lastErrorForScreen() const {
    return QString::fromStdString(lastError_.value_or(std::string()));
}

/// A recording that is being stopped is not in progress any more, for whoever looks at the button.
QVariantMap AppModel::recordingAction() const {
    const RecordingActionPresentation presentation(isRecording_ && !isStopping(), copy());
    const bool stops = presentation.tone == RecordingActionTone::stop;
    return {{QStringLiteral("title"), QString::fromStdString(presentation.title)},
            {QStringLiteral("iconName"), stops ? QStringLiteral("stop") : QStringLiteral("record")},
            {QStringLiteral("stops"), stops}};
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

void AppModel::rename(const QString& recordingID, const QString& title) {
    if (const RecordingSession* const found = session(recordingID)) {
        rename(RecordingSession(*found), title.toStdString());
    }
}

void AppModel::reveal(const QString& recordingID) {
    if (const RecordingSession* const found = session(recordingID)) {
        attempt([&] { ports_.desktop.reveal(found->directory); });
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
