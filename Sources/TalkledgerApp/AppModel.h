#pragma once

#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerApp/LiveSummary.h"
#include "TalkledgerApp/LiveTranscription.h"
#include "TalkledgerApp/RecordingFinishing.h"
#include "TalkledgerApp/RecordingLibrary.h"
#include "TalkledgerApp/RecordingTracks.h"
#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"
#include "TalkledgerCore/Capture/LiveTranscriptKeeper.h"
#include "TalkledgerCore/Capture/RecordingCoordinator.h"
#include "TalkledgerCore/Capture/RecordingTimeline.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Export/RecordingMarkdownExporter.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Ports/AudioConversion.h"
#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerCore/Ports/Authorization.h"
#include "TalkledgerCore/Ports/Desktop.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerCore/Ports/Playback.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Transcription/LiveConversation.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"

#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariantMap>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {

/// What the outside offers to the model. All of it has to outlive the model.
struct AppPorts {
    FileSystem& fileSystem;
    AudioInput& audioInput;
    SystemAudio& systemAudio;
    AudioFiles& audioFiles;
    AudioConversion& audioConversion;
    Authorization& authorization;
    SpeechRecognition& speechRecognition;
    SystemLanguageModel& languageModel;
    ModelFiles& modelFiles;
    Desktop& desktop;
    Playback& playback;
};

/// The one controller that the user interface observes: it turns what the user asks for into calls of the core, and
/// shows how they went. A failure becomes a status text and `lastError`, never an exception.
///
/// Everything happens on the main thread; `startRecording` and `stopRecording` return at once and end when `isBusy`
/// does. While a recording is in progress its live transcript and summary stand for those that it will have in the end.
/// Whoever destroys the model while it is busy or recording runs no event loop afterwards.
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(
        QString displayLanguage READ displayLanguageName WRITE setDisplayLanguageName NOTIFY displayLanguageChanged)
    Q_PROPERTY(QString statusText READ statusTextForScreen NOTIFY statusTextChanged)
    Q_PROPERTY(bool statusIsFailure READ statusIsFailure NOTIFY statusTextChanged)
    Q_PROPERTY(QString lastError READ lastErrorForScreen NOTIFY lastErrorChanged)
    Q_PROPERTY(bool noTrackStarted READ noTrackStarted NOTIFY lastErrorChanged)
    Q_PROPERTY(QString currentRecordingID READ currentRecordingID NOTIFY currentSessionChanged)
    Q_PROPERTY(double currentRecordingStart READ currentRecordingStart NOTIFY currentSessionChanged)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY isBusyChanged)
    Q_PROPERTY(bool isStopping READ isStopping NOTIFY recordingActionChanged)
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY microphoneLevelChanged)
    Q_PROPERTY(LiveSummary* liveSummary READ liveSummary CONSTANT)
    Q_PROPERTY(bool awaitsLiveText READ awaitsLiveText NOTIFY listeningChanged)
    Q_PROPERTY(bool isSpeechOffered READ isSpeechOffered NOTIFY isSpeechOfferedChanged)
    Q_PROPERTY(QVariantMap recordingAction READ recordingAction NOTIFY recordingActionChanged)
    Q_PROPERTY(RecordingTracks* tracks READ tracks CONSTANT)
    Q_PROPERTY(RecordingFinishing* finishing READ finishing CONSTANT)
    Q_PROPERTY(bool isLoadingSessions READ isLoadingSessions NOTIFY sessionsChanged)

public:
    /// `captureReports` is what the capture ports report to; `background` may block.
    AppModel(const AppPorts& ports, std::shared_ptr<CaptureReports> captureReports, Executor main,
             const Executor& background, QSettings& settings,
             LiveSummary::Interval liveSummaryInterval = LiveSummary::interval);

    bool isRecording() const { return isRecording_; }

    DisplayLanguage displayLanguage() const { return displayLanguage_; }

    const std::string& statusText() const { return statusText_; }

    /// The status text says that something the user asked for failed.
    bool statusIsFailure() const { return statusIsFailure_; }

    const std::optional<std::string>& lastError() const { return lastError_; }

    /// The last error is that neither track could be started.
    bool noTrackStarted() const { return noTrackStarted_; }

    /// Newest first.
    const std::vector<RecordingSession>& sessions() const { return library_.sessions(); }

    /// The list is still empty because it is being loaded for the first time, which may take a while.
    bool isLoadingSessions() const { return library_.isLoading(); }

    /// Present exactly while recording.
    const std::optional<RecordingSession>& currentSession() const { return currentSession_; }

    const std::optional<CapturePermissionSnapshot>& permissions() const { return permissions_; }

    /// A start or a stop is in progress.
    bool isBusy() const { return isBusy_; }

    /// The recording in progress has been stopped and is being saved.
    bool isStopping() const { return isRecording_ && isBusy_; }

    /// 0 to 1.
    double microphoneLevel() const { return tracks_.microphoneLevel(); }

    /// Of the recording in progress.
    RecordingTracks* tracks() { return &tracks_; }

    const RecordingTracks& tracks() const { return tracks_; }

    /// Of the recording that has been stopped.
    RecordingFinishing* finishing() { return &finishing_; }

    const RecordingFinishing& finishing() const { return finishing_; }

    /// What the recording in progress is known to say so far, without echoes; absent before its first words. Made when
    /// it is read.
    std::optional<TranscriptDocument> liveTranscriptDocument() const;

    /// The same as it is shown.
    std::vector<TranscriptTimelineLine> liveLines() const { return liveConversation_.lines(); }

    const std::optional<LiveSummarySnapshot>& liveSummarySnapshot() const { return liveSummary_.snapshot(); }

    LiveSummaryStatus liveSummaryStatus() const { return liveSummary_.status(); }

    LiveSummary* liveSummary() { return &liveSummary_; }

    const LiveSummary& liveSummary() const { return liveSummary_; }

    const std::optional<std::filesystem::path>& markdownExportDirectory() const { return markdownExportDirectory_; }

    const std::optional<std::filesystem::path>& lastMarkdownExportURL() const { return lastMarkdownExportURL_; }

    /// The store's folder; absent without a store.
    const std::optional<std::filesystem::path>& rootDirectory() const { return rootDirectory_; }

    /// Whether any track of the recording in progress is being transcribed live.
    bool isListening() const { return liveTranscription_.isListening(); }

    bool isListening(AudioChannel channel) const { return liveTranscription_.isListening(channel); }

    /// Whether it is, or is still about to.
    bool awaitsLiveText() const { return liveTranscription_.awaitsText(); }

    /// Whether recordings can be transcribed at all; true until it is known.
    bool isSpeechOffered() const { return isSpeechOffered_; }

    AppCopy copy() const { return {displayLanguage_}; }

    const AppPorts& ports() const { return ports_; }

    const Executor& mainExecutor() const { return main_; }

    const Executor& backgroundExecutor() const { return background_; }

    QSettings& settings() const { return settings_; }

    /// For recorded files, in the languages in which recordings are transcribed.
    std::unique_ptr<TranscriptProvider> makeTranscriptProvider(TranscriptionProgressHandler progress) const;

    /// Ignored while busy, as is `stopRecording`.
    Q_INVOKABLE void startRecording();
    Q_INVOKABLE void stopRecording();

    /// What the main button says, as `recordingAction` tells.
    Q_INVOKABLE void toggleRecording();

    /// Reads the list anew; returns at once and ends with `sessionsChanged`.
    Q_INVOKABLE void refreshSessions();

    /// Reads that recording anew: it has come, has changed or is gone.
    void refreshSession(const RecordingSession& session);

    /// Other models are installed than before, or on their way.
    void modelFilesChanged();

    /// Of something that the user asked for elsewhere.
    void showError(std::string description);

    /// The user has read it.
    Q_INVOKABLE void dismissLastError();

    /// Returns at once and ends with another status text.
    Q_INVOKABLE void requestCapturePermissions();

    /// Looks at them anew, without asking for any. Returns at once and ends with `permissionsChanged`.
    void refreshPermissions();

    /// Where the user changes what the system lets the program capture.
    void openSettings(CapturePermissionKind kind);
    void setDisplayLanguage(DisplayLanguage language);
    Q_INVOKABLE void switchLanguage();
    void rename(const RecordingSession& session, const std::string& title);
    void copyTranscriptMarkdown(const RecordingSession& session);
    void exportTranscriptMarkdown(const RecordingSession& session);

    /// Where documents are saved. Throws `FileSystemError` when the user has no folder for documents.
    std::filesystem::path markdownExportFolder();

    /// Returns at once; the user takes a while, and may choose none.
    Q_INVOKABLE void chooseMarkdownExportDirectory();
    Q_INVOKABLE void openMarkdownExportDirectory();
    Q_INVOKABLE void openStorageFolder();

    /// What there is to show of a recording; absent when there is nothing.
    std::optional<TranscriptDocument> transcript(const RecordingSession& session) const;
    std::optional<SalesSummary> listSummary(const RecordingSession& session) const;
    std::optional<RecordingDiagnostics> diagnostics(const RecordingSession& session) const;

    /// The recording of the list with that identifier.
    const RecordingSession* session(const QString& recordingID) const;

    /// The screens' forms of the operations above. An unknown recording is left alone.
    QString displayLanguageName() const;
    void setDisplayLanguageName(const QString& name);
    QString statusTextForScreen() const; ///< tells of a recording that has one track only
    QString lastErrorForScreen() const;
    QVariantMap recordingAction() const; ///< what the main button does: its title, its icon and whether it stops
    QString currentRecordingID() const;
    double currentRecordingStart() const; ///< milliseconds since 1970
    Q_INVOKABLE void copyTranscriptMarkdown(const QString& recordingID);
    Q_INVOKABLE void exportTranscriptMarkdown(const QString& recordingID);
    Q_INVOKABLE void rename(const QString& recordingID, const QString& title);
    Q_INVOKABLE void reveal(const QString& recordingID);

Q_SIGNALS:
    void isRecordingChanged();
    void displayLanguageChanged();
    void statusTextChanged();
    void lastErrorChanged();
    void sessionsChanged();
    void currentSessionChanged();
    void permissionsChanged();
    void isBusyChanged();
    void recordingActionChanged();
    void microphoneLevelChanged();

    /// What a piece of text has made of `liveLines`. All of them go at the end, which `currentSessionChanged` tells.
    void liveLinesChanged(const std::vector<talkledger::TranscriptLineChange>& changes);
    void listeningChanged();
    void isSpeechOfferedChanged();
    void markdownExportDirectoryChanged();
    void lastMarkdownExportURLChanged();

private:
    void createStore();
    void createCoordinator(RecordingStore& store);
    RecordingStore& store();
    bool isCurrent(const RecordingSession& session) const;
    Task<void> startRecordingNow();
    Task<void> stopRecordingNow();
    std::string defaultRecordingTitle() const;
    void followCoordinator();
    void beginFinishing();
    void startLive(const RecordingSession& session);
    void stopLive();
    void applyLiveTranscriptSegment(const TranscriptSegment& segment);
    void clearLiveTranscript();
    Task<void> findWhetherSpeechIsOffered();
    void tellIfSpeechIsNotOffered(const RecordingSession& session);
    void keepMessages(const std::vector<std::string>& messages, const RecordingSession& session);
    Task<void> findPermissions();
    Task<void> requestCapturePermissionsNow();
    Task<void> refreshPermissionsNow();
    Task<void> chooseMarkdownExportDirectoryNow();
    void exportMarkdown(const RecordingSession& session);
    template <typename Action>
    void attempt(Action action);
    std::optional<SalesSummary> storedSummary(const RecordingSession& session) const;
    template <typename Load>
    auto loaded(Load load) const -> std::optional<decltype(load())>;

    void setIsRecording(bool isRecording);
    void setStatusText(std::string text);
    void setFailedStatusText(std::string text);
    void setLastError(std::optional<std::string> description, bool noTrackStarted = false);
    void setCurrentSession(std::optional<RecordingSession> session);
    void setIsBusy(bool isBusy);

    bool isRecording_{false};
    DisplayLanguage displayLanguage_{DisplayLanguage::japanese};
    std::string statusText_;
    bool statusIsFailure_{false};
    std::optional<std::string> lastError_;
    bool noTrackStarted_{false};
    std::optional<RecordingSession> currentSession_;
    std::optional<CapturePermissionSnapshot> permissions_;
    bool isBusy_{false};
    std::optional<std::filesystem::path> markdownExportDirectory_;
    std::optional<std::filesystem::path> lastMarkdownExportURL_;

    AppPorts ports_;
    Executor main_;
    Executor background_;
    QSettings& settings_;
    std::shared_ptr<CaptureReports> captureReports_;
    RecordingTracks tracks_;
    RecordingFinishing finishing_;
    bool isSpeechOffered_{true};
    std::shared_ptr<RecordingTimelineRecorder> timeline_;
    LiveAudioBufferRelay liveAudioBufferRelay_;
    LiveTranscription liveTranscription_;
    LiveConversation liveConversation_{recordingSourceSeparator};
    bool hasLiveTranscript_{false};
    LiveSummary liveSummary_;
    RecordingMarkdownDocumentBuilder markdownDocumentBuilder_;
    RecordingMarkdownExporter markdownExporter_;
    std::optional<RecordingStore> store_;
    RecordingLibrary library_;
    std::unique_ptr<RecordingCoordinator> coordinator_;        ///< absent without a store
    std::optional<LiveTranscriptKeeper> liveTranscriptKeeper_; ///< absent without a store
    std::optional<std::filesystem::path> rootDirectory_;
};

} // namespace talkledger
