#pragma once

#include "TalkledgerApp/AppDelegate.h"
#include "TalkledgerApp/AppModel.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerApp/CaptureReports.h"
#include "TalkledgerApp/DesktopAppearance.h"
#include "TalkledgerApp/LiveTranscriptAdaptor.h"
#include "TalkledgerApp/QtDesktop.h"
#include "TalkledgerApp/QtMainExecutor.h"
#include "TalkledgerApp/Quitting.h"
#include "TalkledgerApp/RecordingRevisions.h"
#include "TalkledgerApp/TerminationSignals.h"
#include "TalkledgerApp/TrayIcon.h"
#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"
#include "TalkledgerPlatform/Audio/PipeWirePlayback.h"
#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"
#include "TalkledgerPlatform/Audio/ResamplerAudioConversion.h"
#include "TalkledgerPlatform/Audio/SoundServerAuthorization.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"
#include "TalkledgerPlatform/LanguageModel/WorkerLanguageModel.h"
#include "TalkledgerPlatform/ModelFiles/EngineModelCheck.h"
#include "TalkledgerPlatform/ModelFiles/ModelFolder.h"
#include "TalkledgerPlatform/Speech/WorkerSpeechRecognition.h"

#include <boost/asio/thread_pool.hpp>

#include <QSettings>
#include <memory>

namespace talkledger {

/// The one place that knows the core, the platform and the screens: it makes the adapters and hands them to the model,
/// and takes everything down in the order that each needs. Main thread.
class AppBootstrap {
public:
    /// For the first copy of the program. Both have to outlive it.
    AppBootstrap(AppSingleInstanceCoordinator& singleInstance, TerminationSignals& terminationSignals);
    ~AppBootstrap();
    AppBootstrap(const AppBootstrap&) = delete;
    AppBootstrap& operator=(const AppBootstrap&) = delete;

    /// Opens the window and runs the event loop; returns the program's exit status. Throws when the window cannot be
    /// made.
    int run();

private:
    TrackHealthHandler trackHealthHandler() const;

    QSettings settings_;
    QtMainContext mainContext_;
    boost::asio::thread_pool background_;
    std::shared_ptr<CaptureReports> captureReports_;
    PosixFileSystem fileSystem_;
    PipeWireAudioInput audioInput_;
    PipeWireSystemAudio systemAudio_;
    PlatformAudioFiles audioFiles_;
    ResamplerAudioConversion audioConversion_;
    SoundServerAuthorization authorization_;
    WorkerLanguageModel languageModel_;
    EngineModelCheck modelCheck_;
    ModelFolder modelFiles_;
    WorkerSpeechRecognition speechRecognition_;
    QtDesktop desktop_;
    PipeWirePlayback playback_;
    AppModel model_;
    RecordingRevisions revisions_;
    LiveTranscriptAdaptor liveTranscript_;
    DesktopAppearance appearance_;
    Quitting quitting_;
    TrayIcon tray_;
    AppWindowController windows_;
    AppDelegate delegate_;
};

} // namespace talkledger
