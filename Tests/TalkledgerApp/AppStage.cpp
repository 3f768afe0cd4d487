#include "TalkledgerApp/AppStage.h"

#include "TalkledgerCore/Storage/RecordingStore.h"

#include <chrono>
#include <vector>

namespace talkledger::testing {

AppStage::AppStage()
    : settings_(QString::fromStdString(home_.path() / "Talkledger.ini"), QSettings::IniFormat),
      fileSystem_({.home = home_.path(), .dataHome = home_.path() / "data", .configHome = home_.path() / "config"}),
      reports_(std::make_shared<CaptureReports>(QtMainExecutor(context_))) {
    settings_.setValue(QStringLiteral("firstMinutesShown"), true);
    languageModel_.state = {.isAvailable = false, .reason = UnavailableReason::modelNotReady, .lack = {}};
    speech_.scripts["ja_JP"].results = {spoken("The budget is approved.", 1, 2)};
}

AppStage::~AppStage() {
    background_.join();
    context_.close();
}

AppModel& AppStage::startModel() {
    const AppPorts ports{.fileSystem = fileSystem_,
                         .audioInput = audioInput_,
                         .systemAudio = systemAudio_,
                         .audioFiles = audioFiles_,
                         .audioConversion = audioConversion_,
                         .authorization = authorization_,
                         .speechRecognition = speech_,
                         .languageModel = languageModel_,
                         .modelFiles = *modelFiles_,
                         .desktop = desktop_,
                         .playback = playback_};
    model_.emplace(ports, reports_, QtMainExecutor(context_), background_.get_executor(), settings_,
                   liveSummaryInterval_);
    return *model_;
}

AppModel& AppStage::makeModel() {
    startModel();
    QCoreApplication::processEvents(); // what it has begun by itself ends before a test replaces it
    waitUntil([this] { return !model_->isLoadingSessions() && model_->permissions(); });
    return *model_;
}

void AppStage::waitUntilIdle() {
    waitUntil([this] { return !model().isBusy(); });
}

void AppStage::record() {
    model().startRecording();
    waitUntilIdle();
}

void AppStage::stop() {
    model().stopRecording();
    waitUntilIdle();
}

void AppStage::recordLive() {
    record();
    waitUntil([this] { return model().isListening(AudioChannel::mic) && model().isListening(AudioChannel::speaker); });
}

FakeLiveAnalysis& AppStage::live(AudioChannel channel) {
    return *speech_.live.at(speech_.live.size() - (channel == AudioChannel::mic ? 2 : 1));
}

void AppStage::say(AudioChannel channel, const SpeechTranscriptionResult& result) {
    bool isShown = false;
    const auto watch =
        QObject::connect(&model(), &AppModel::liveLinesChanged, &model(), [&isShown] { isShown = true; });
    live(channel).say(result);
    waitUntil([&] { return isShown; });
    QObject::disconnect(watch);
}

void AppStage::hearSomething() {
    const std::vector<float> samples(4096, 0.25F);
    const AudioBuffer buffer = makeFloatBuffer(samples, 2, std::chrono::steady_clock::now());
    audioInput_.deliver(buffer);
    systemAudio_.deliver({.type = CaptureOutputType::audio, .isDataReady = true, .audio = buffer});
    const RecordingArtifacts& artifacts = model().currentSession()->artifacts;
    fileSystem_.writeFileAtomically(artifacts.micAudio, "samples");
    fileSystem_.writeFileAtomically(artifacts.speakerAudio, "samples");
}

RecordingSession AppStage::addFinishedRecording(const std::string& title, std::int64_t startSeconds,
                                                const TranscriptDocument& transcript) {
    RecordingStore store(recordingsFolder(), fileSystem_);
    const Date start{std::chrono::seconds(startSeconds)};
    const RecordingSession session = store.createSession(title, start);
    store.saveTranscript(transcript, session);
    return store.finishSession(session, start + std::chrono::minutes(5));
}

SpeechTranscriptionResult spoken(const std::string& text, double start, double duration) {
    return {.text = text, .audioTimeRange = {.start = start, .duration = duration}, .isFinal = true};
}

} // namespace talkledger::testing
