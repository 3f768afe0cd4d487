#include "TalkledgerApp/AppBootstrap.h"

#include "TalkledgerPlatform/Files/UserFolders.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLocale>

namespace talkledger {
namespace {

/// Each track may wait for the sound server or a disk while files are measured and the time line is written.
constexpr std::size_t backgroundThreads = 4;

/// It is named and not made: where nothing can be kept, the program starts all the same, and says so.
std::filesystem::path modelFolder() {
    return UserFolders::fromEnvironment().dataHome / "Talkledger" / "Models";
}

WorkerSettings transcriber() {
    WorkerSettings settings;
    settings.program = workerProgram("talkledger-transcriber");
    return settings;
}

WorkerSpeechRecognition::Settings speechSettings(AwaitedModelFiles& awaitedModels) {
    WorkerSpeechRecognition::Settings settings;
    settings.worker = transcriber();
    settings.desktopLocale = QLocale::system().name().toStdString();
    settings.installedModels = modelFolder();
    settings.awaitedModels = &awaitedModels;
    return settings;
}

WorkerLanguageModel::Settings languageModelSettings() {
    WorkerLanguageModel::Settings settings;
    settings.worker.program = workerProgram("talkledger-summarizer");
    settings.modelFolder = modelFolder();
    return settings;
}

} // namespace

AppBootstrap::AppBootstrap(AppSingleInstanceCoordinator& singleInstance, TerminationSignals& terminationSignals)
    : settings_(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Talkledger"), QStringLiteral("Talkledger")),
      background_(backgroundThreads),
      captureReports_(std::make_shared<CaptureReports>(QtMainExecutor(mainContext_))),
      audioInput_(background_.get_executor(), trackHealthHandler()),
      systemAudio_(background_.get_executor(), trackHealthHandler()),
      audioFiles_(background_.get_executor(), trackHealthHandler()),
      languageModel_(languageModelSettings()),
      modelCheck_(transcriber(), languageModel_),
      modelFiles_(modelFolder(), modelCheck_),
      speechRecognition_(speechSettings(modelFiles_)),
      model_({.fileSystem = fileSystem_,
              .audioInput = audioInput_,
              .systemAudio = systemAudio_,
              .audioFiles = audioFiles_,
              .audioConversion = audioConversion_,
              .authorization = authorization_,
              .speechRecognition = speechRecognition_,
              .languageModel = languageModel_,
              .modelFiles = modelFiles_,
              .desktop = desktop_,
              .playback = playback_},
             captureReports_, QtMainExecutor(mainContext_), background_.get_executor(), settings_),
      revisions_(model_, QtMainExecutor(mainContext_)),
      liveTranscript_(model_, singleInstance),
      appearance_(QDBusConnection::sessionBus()),
      quitting_(model_, revisions_),
      tray_(model_, appearance_, QDBusConnection::sessionBus()),
      windows_(model_, revisions_, appearance_, desktop_, quitting_),
      delegate_(model_, windows_, tray_, quitting_, singleInstance, terminationSignals) {
    QObject::connect(&model_, &AppModel::isRecordingChanged, &model_,
                     [this] { languageModel_.expectQuestions(model_.isRecording()); });
}

AppBootstrap::~AppBootstrap() {
    background_.join();
    mainContext_.close();
}

TrackHealthHandler AppBootstrap::trackHealthHandler() const {
    return [reports = captureReports_](AudioChannel channel, TrackHealthEvent event) {
        reports->reportTrackHealth(channel, event);
    };
}

int AppBootstrap::run() {
    delegate_.applicationDidFinishLaunching();
    return QCoreApplication::exec();
}

} // namespace talkledger
