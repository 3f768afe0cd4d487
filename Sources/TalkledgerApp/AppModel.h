#pragma once

#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerApp/RecordingTracks.h"
#include "TalkledgerCore/Capture/CapturePermissionInspector.h"
#include "TalkledgerCore/Capture/LiveAudioBufferRelay.h"
#include "TalkledgerCore/Capture/RecordingCoordinator.h"
#include "TalkledgerCore/Export/RecordingDiagnostics.h"
#include "TalkledgerCore/Export/RecordingMarkdownExporter.h"
#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Ports/Audio.h"
#include "TalkledgerCore/Ports/AudioFiles.h"
#include "TalkledgerCore/Ports/Authorization.h"
#include "TalkledgerCore/Ports/FileSystem.h"
#include "TalkledgerCore/Ports/LanguageModel.h"
#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"
#include "TalkledgerCore/Storage/RecordingStore.h"

#include <QObject>
#include <QSettings>
#include <QString>
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
    Authorization& authorization;
    SpeechRecognition& speechRecognition;
    SystemLanguageModel& languageModel;
};

/// The one controller that the user interface observes: it turns what the user asks for into calls of the core, and
/// shows how they went. A failure becomes a status text and `lastError`, never an exception.
///
/// Everything happens on the main thread; `startRecording` and `stopRecording` return at once and end when `isBusy`
/// does. Whoever destroys the model while it is busy runs no event loop afterwards.
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
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY microphoneLevelChanged)
    Q_PROPERTY(RecordingTracks* tracks READ tracks CONSTANT)

public:
    /// `captureReports` is what the capture ports report to; `background` may block.
    AppModel(const AppPorts& ports, std::shared_ptr<CaptureReports> captureReports, Executor main,
             const Executor& background, QSettings& settings);

    bool isRecording() const { return isRecording_; }

    DisplayLanguage displayLanguage() const { return displayLanguage_; }

    const std::string& statusText() const { return statusText_; }

    /// The status text says that something the user asked for failed.
    bool statusIsFailure() const { return statusIsFailure_; }

    const std::optional<std::string>& lastError() const { return lastError_; }

    /// The last error is that neither track could be started.
    bool noTrackStarted() const { return noTrackStarted_; }

    /// Newest first.
    const std::vector<RecordingSession>& sessions() const { return sessions_; }

    /// Present exactly while recording.
    const std::optional<RecordingSession>& currentSession() const { return currentSession_; }

    const std::optional<CapturePermissionSnapshot>& permissions() const { return permissions_; }

    /// A start or a stop is in progress.
    bool isBusy() const { return isBusy_; }

    /// 0 to 1.
    double microphoneLevel() const { return tracks_.microphoneLevel(); }

    /// Of the recording in progress.
    RecordingTracks* tracks() { return &tracks_; }

    const RecordingTracks& tracks() const { return tracks_; }

    const std::optional<std::filesystem::path>& markdownExportDirectory() const { return markdownExportDirectory_; }

    const std::optional<std::filesystem::path>& lastMarkdownExportURL() const { return lastMarkdownExportURL_; }

    /// The store's folder; absent without a store.
    const std::optional<std::filesystem::path>& rootDirectory() const { return rootDirectory_; }

    AppCopy copy() const { return {displayLanguage_}; }

    /// Ignored while busy, as is `stopRecording`.
    Q_INVOKABLE void startRecording();
    Q_INVOKABLE void stopRecording();
    Q_INVOKABLE void refreshSessions();

    /// The user has read it.
    Q_INVOKABLE void dismissLastError();
    void setDisplayLanguage(DisplayLanguage language);
    void rename(const RecordingSession& session, const std::string& title);
    void copyTranscriptMarkdown(const RecordingSession& session);
    void exportTranscriptMarkdown(const RecordingSession& session);

    /// What there is to show of a recording; absent when there is nothing.
    std::optional<TranscriptDocument> transcript(const RecordingSession& session) const;
    std::optional<SalesSummary> listSummary(const RecordingSession& session) const;
    std::optional<RecordingDiagnostics> diagnostics(const RecordingSession& session) const;

    /// The recording of the list with that identifier.
    const RecordingSession* session(const QString& recordingID) const;

    /// The screens' forms of the operations above. An unknown recording is left alone.
    QString displayLanguageName() const;
    void setDisplayLanguageName(const QString& name);
    QString statusTextForScreen() const;
    QString lastErrorForScreen() const;
    QString currentRecordingID() const;
    double currentRecordingStart() const; ///< milliseconds since 1970
    Q_INVOKABLE void copyTranscriptMarkdown(const QString& recordingID);
    Q_INVOKABLE void exportTranscriptMarkdown(const QString& recordingID);

Q_SIGNALS:
    void isRecordingChanged();
    void displayLanguageChanged();
    void statusTextChanged();
    void lastErrorChanged();
    void sessionsChanged();
    void currentSessionChanged();
    void isBusyChanged();
    void microphoneLevelChanged();
    void lastMarkdownExportURLChanged();

private:
    void createStore(FileSystem& fileSystem);
    void createCoordinator(RecordingStore& store, const AppPorts& ports, const Executor& background);
    Task<void> startRecordingNow();
    Task<void> stopRecordingNow();
    std::string defaultRecordingTitle() const;
    void followCoordinator();
    void keepMessages(const std::vector<std::string>& messages, const RecordingSession& session);
    void exportMarkdown(const RecordingSession& session);
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
    std::vector<RecordingSession> sessions_;
    std::optional<RecordingSession> currentSession_;
    std::optional<CapturePermissionSnapshot> permissions_;
    bool isBusy_{false};
    std::optional<std::filesystem::path> markdownExportDirectory_;
    std::optional<std::filesystem::path> lastMarkdownExportURL_;

    Executor main_;
    QSettings& settings_;
    std::shared_ptr<CaptureReports> captureReports_;
    RecordingTracks tracks_;
    LiveAudioBufferRelay liveAudioBufferRelay_;
    RecordingMarkdownDocumentBuilder markdownDocumentBuilder_;
    RecordingMarkdownExporter markdownExporter_;
    std::optional<RecordingStore> store_;
    std::unique_ptr<RecordingCoordinator> coordinator_; ///< absent without a store
    std::optional<std::filesystem::path> rootDirectory_;
};

} // namespace talkledger
