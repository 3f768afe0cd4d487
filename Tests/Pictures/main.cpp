// Photographs every screen and state of the window and the panel, in both languages, light and dark, for people to look
// at: talkledger-pictures --out DIR [--recording DIR]. Fails when Qt complains meanwhile.

#include "TalkledgerApp/StoredDocument.h"
#include "TalkledgerApp/WindowStage.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/Json.h"

#include <nlohmann/json.hpp>

#include <QApplication>
#include <QDBusVariant>
#include <QDateTime>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSize>
#include <QTemporaryDir>
#include <QWheelEvent>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace talkledger {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

int complaints = 0;

void noteComplaint(QtMsgType type, const QMessageLogContext& /*place*/, const QString& message) {
    if (type != QtDebugMsg && type != QtInfoMsg) {
        ++complaints;
        std::fprintf(stderr, "Qt: %s\n", message.toUtf8().constData());
    }
}

/// "at" is a time of a day so many days ago.
Date dateOf(const Json& sample) {
    const QDate day = QDate::currentDate().addDays(-sample.at("daysAgo").get<int>());
    const QTime time =
        QTime::fromString(QString::fromStdString(sample.at("time").get<std::string>()), QStringLiteral("HH:mm"));
    return Date(std::chrono::milliseconds(QDateTime(day, time).toMSecsSinceEpoch()));
}

TranscriptSegment segmentOf(const Json& said) {
    constexpr double seconds = 5;
    const AudioChannel channel = said.at("isMine").get<bool>() ? AudioChannel::mic : AudioChannel::speaker;
    return {channel, structuralSpeakerRole(channel),     said.at("start").get<double>(),
            seconds, said.at("text").get<std::string>(), TranscriptSegmentStatus::final};
}

/// What is said at first, and much more of the kind until the end.
TranscriptDocument transcriptOf(const Json& talk, const Json& more, double seconds) {
    TranscriptDocument transcript;
    for (const Json& line : talk) {
        transcript.segments.push_back(segmentOf(line));
    }
    constexpr double pace = 11;
    for (std::size_t number = 0; transcript.segments.back().startTime + 2 * pace < seconds; ++number) {
        TranscriptSegment said = segmentOf(more.at(number % more.size()));
        const double pause = static_cast<double>(number * number % 5);
        said.startTime = transcript.segments.back().startTime + pace + pause;
        said.duration = pace - pause;
        transcript.segments.push_back(said);
    }
    return transcript;
}

/// The window in front of a photographer, with a library of designed recordings in one language. Each scene is for a
/// stage of its own.
class PictureStage : public testing::WindowStage {
public:
    /// `samples` is what "samples.json" has for the language.
    explicit PictureStage(const Json& samples) : samples_(samples) {
        settings_.setValue(QStringLiteral("displayLanguage"), QString::fromStdString(samples.at("language")));
        liveSummaryInterval_ = 20ms;
    }

    void showEmpty() { show(); }

    void showFirstMinutes() {
        show();
        click("checkSound");
        waitUntil([this] { return audioInput_.lastTap && !systemAudio_.output.expired(); });
        hear();
    }

    void showRecording() {
        fillLibrary();
        show();
    }

    void showPlayback() {
        showRecording();
        click("playButton");
        playback_.place = 47;
    }

    void showSearch() {
        showRecording();
        press(Qt::Key_F, Qt::ControlModifier);
        item("searchField")->setProperty("text", QString::fromStdString(samples_.at("query")));
        waitUntil([this] { return item("searchHits")->property("count").toInt() > 0; });
    }

    void showDiagnostics() {
        showRecording();
        press(Qt::Key_3, Qt::ControlModifier);
    }

    void showSettings() {
        showRecording();
        press(Qt::Key_Comma, Qt::ControlModifier);
    }

    void showActions() {
        showRecording();
        click("moreButton");
    }

    void showSaved() {
        showRecording();
        click("exportFolderButton");
        click("saveAllRecordings");
        waitUntil([this] { return isShown("exportNotice"); });
    }

    void showPermissions() {
        systemAudio_.contentFailure = "There is no output.";
        showRecording();
        click("permissionsButton");
    }

    void showInterrupted() {
        fillLibrary();
        RecordingStore store(recordingsFolder(), fileSystem_);
        const Date start = std::chrono::system_clock::now() - 23min;
        const RecordingSession session = store.createSession(generatedTitle(start), start);
        addSound(session, 868);
        show();
    }

    void showFailedStart() {
        audioInput_.startFailure = "The device does not answer.";
        systemAudio_.startFailure = "The sound server does not answer.";
        showRecording();
        record();
    }

    void showLive() {
        listen();
        converse();
    }

    void showScrolledBack() {
        showLive();
        for (int turns = 0; turns < 3; ++turns) {
            press(Qt::Key_F6);
        }
        item("transcriptLines")->forceActiveFocus();
        press(Qt::Key_PageUp);
    }

    void showOneTrack() {
        audioInput_.format.channelCount = 0;
        showRecording();
        record();
        pretendToHaveBegunEarlier();
    }

    void showWithoutModel() {
        showNoRecogniser();
        record();
        pretendToHaveBegunEarlier();
    }

    void showNoRecogniser() {
        speech_.scripts = {{"en_US", {.status = SpeechAssetStatus::unsupported, .results = {}}}};
        showRecording();
    }

    void showModelArriving() {
        modelFiles_ = &modelPicture_;
        modelPicture_.scripts = {{standardSpeechModel, {.received = 283'000'000, .total = 488'000'000}}};
        showWithoutModel();
        windows_->modelFiles().download(QLatin1String(standardSpeechModel));
    }

    /// Every way in which a model can stand.
    void showModels() {
        modelFiles_ = &modelPicture_;
        modelPicture_.names = {{ModelFileKind::speech, {"ggml-base.bin"}},
                               {ModelFileKind::language, {"Sales-team-2026-Q4_K_M.gguf"}}};
        modelPicture_.scripts = {
            {standardSpeechModel, {.received = 283'000'000, .total = 488'000'000}},
            {bestSpeechModel, {.failure = ModelFileError(ModelFileError::Case::brokenOff)}},
            {standardLanguageModel, {.received = 1'117'000'000, .total = 1'117'000'000, .isBeingVerified = true}}};
        modelPicture_.installationFailure = ModelFileError(ModelFileError::Case::notUsable);
        show();
        for (const char* name : {standardSpeechModel, bestSpeechModel, standardLanguageModel}) {
            windows_->modelFiles().download(QLatin1String(name));
        }
        windows_->modelFiles().install(QUrl(QStringLiteral("file:///home/me/mine.gguf")));
        press(Qt::Key_Comma, Qt::ControlModifier);
        window().grabWindow(); // lays the popover out
        click("openModels");
    }

    void showStopping() {
        showLive();
        speech_.results.close();
        model().stopRecording();
        waitUntil([this] { return model().finishing()->share(AudioChannel::mic) > 0; });
    }

    void showQuitting() {
        showLive();
        quitting_->request();
    }

    void showSummaryWaiting() { listen(); }

    void showSummaryGenerating() {
        showLive();
        languageModel_.answering.close();
        say(AudioChannel::speaker, testing::spoken(samples_.at("query"), 770, 2));
        waitUntil([this] { return model().liveSummaryStatus() == LiveSummaryStatus::generating; });
    }

    void showSummaryFailed() {
        showLive();
        languageModel_.failure = "The model has ended.";
        say(AudioChannel::speaker, testing::spoken(samples_.at("query"), 770, 2));
        waitUntil([this] { return model().liveSummaryStatus() == LiveSummaryStatus::failed; });
    }

    void showNarrowList() {
        showRecording();
        resize(320, 700);
        click("backButton");
    }

    void showPanel() {
        showRecording();
        openPanel();
    }

    void showPanelLive() {
        showLive();
        openPanel();
    }

    void showPanelPermissions() {
        systemAudio_.contentFailure = "There is no output.";
        showPanel();
    }

    /// A recording of the real program, with what it has heard.
    void showRealRecording(const fs::path& recording) {
        const fs::path folder = recordingsFolder() / "real";
        fs::create_directories(recordingsFolder());
        fs::copy(recording, folder, fs::copy_options::recursive);
        const auto diagnostics = storedDocument<RecordingDiagnostics>(fileSystem_, folder / "diagnostics.json");
        for (const RecordingArtifactDiagnostic& file : diagnostics.value_or(RecordingDiagnostics()).artifacts) {
            audioFiles_.durations[folder / file.fileName] = file.durationSeconds.value_or(0);
        }
        show();
    }

    void photographWindow(const fs::path& beginning, const std::vector<QSize>& sizes) {
        for (const QSize& size : sizes) {
            resize(size.width(), size.height());
            const std::string form = std::to_string(size.width()) + "x" + std::to_string(size.height());
            photograph(window(), beginning.string() + "-" + form);
        }
    }

    void photographPanel(const fs::path& beginning) { photograph(*windows_->panel(), beginning); }

private:
    void fillLibrary() {
        bool isFirst = true;
        for (const Json& sample : samples_.at("recordings")) {
            SalesSummary summary;
            summary.overview = sample.value("overview", std::string());
            addRecording(sample, isFirst ? fullSummary() : summary);
            isFirst = false;
        }
    }

    std::string generatedTitle(Date start) const {
        return samples_.at("generatedTitle").get<std::string>() + " " + formatLocalDateTime(start);
    }

    SalesSummary fullSummary() const {
        return decodeJson<SalesSummary>(samples_.at("summary").dump(), JsonSource{.name = "The sample", .advice = {}});
    }

    void addRecording(const Json& sample, const SalesSummary& summary) {
        RecordingStore store(recordingsFolder(), fileSystem_);
        const Date start = dateOf(sample);
        const RecordingSession session = store.createSession(sample.value("title", generatedTitle(start)), start);
        const double seconds = sample.at("seconds").get<double>();
        addSound(session, seconds);
        store.saveTranscript(transcriptOf(samples_.at("talk"), samples_.at("live"), seconds), session);
        store.saveSummary(summary, session);
        store.saveDiagnostics({.microphoneStarted = true,
                               .systemAudioStarted = true,
                               .messages = {"Transcript and summary generated."},
                               .artifacts = {artifact(AudioChannel::mic, "mic.wav", seconds, 192'000),
                                             artifact(AudioChannel::speaker, "speaker.m4a", seconds, 16'000)}},
                              session);
        store.finishSession(session, start + std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000)));
    }

    static RecordingArtifactDiagnostic artifact(AudioChannel channel, const char* name, double seconds, double rate) {
        return {.channel = channel,
                .fileName = name,
                .exists = true,
                .byteCount = static_cast<std::int64_t>(seconds * rate),
                .durationSeconds = seconds,
                .isEmpty = false};
    }

    void addSound(const RecordingSession& session, double seconds) {
        for (const fs::path& file : {session.artifacts.micAudio, session.artifacts.speakerAudio}) {
            std::ofstream(file) << "samples";
            audioFiles_.durations[file] = seconds;
        }
    }

    /// A recording begins, and nobody says a word.
    void listen() {
        languageModel_.state.isAvailable = true;
        languageModel_.answer = samples_.at("summary").dump();
        showRecording();
        recordLive();
        pretendToHaveBegunEarlier();
        hear();
    }

    void converse() {
        for (const Json& line : samples_.at("live")) {
            const TranscriptSegment said = segmentOf(line);
            say(said.channel, testing::spoken(said.text, said.startTime, said.duration));
        }
        waitUntil([this] { return model().liveSummaryStatus() == LiveSummaryStatus::updated; });
        const TranscriptSegment partial = segmentOf(samples_.at("partial"));
        SpeechTranscriptionResult result = testing::spoken(partial.text, partial.startTime, partial.duration);
        result.isFinal = false;
        say(partial.channel, result);
    }

    void pretendToHaveBegunEarlier() {
        RecordingSession session = *model().currentSession();
        session.startedAt -= 12min + 47s;
        model().rename(session, session.title);
        model().setDisplayLanguage(model().displayLanguage()); // shows the status anew
    }

    void hear() {
        const auto sound = [](float sample) {
            return testing::makeFloatBuffer(std::vector<float>(4096, sample), 2, std::chrono::steady_clock::now());
        };
        audioInput_.deliver(sound(0.2F));
        systemAudio_.deliver({.type = CaptureOutputType::audio, .isDataReady = true, .audio = sound(0.35F)});
        if (model().currentSession()) {
            addSound(*model().currentSession(), 767);
        }
    }

    void openPanel() {
        windows_->togglePanel({});
        waitUntil([this] { return windows_->panel()->isExposed(); });
    }

    void photograph(QQuickWindow& shown, const std::string& beginning) {
        for (const bool isDark : {false, true}) {
            QMetaObject::invokeMethod(
                &*appearance_, "applySetting", Q_ARG(QString, QStringLiteral("org.freedesktop.appearance")),
                Q_ARG(QString, QStringLiteral("color-scheme")), Q_ARG(QDBusVariant, QDBusVariant(isDark ? 1U : 0U)));
            const QString file = QString::fromStdString(beginning + (isDark ? "-dark" : "-light") + ".png");
            if (!stillPicture(shown).save(file)) {
                throw std::runtime_error("The picture could not be written: " + file.toStdString());
            }
        }
    }

    /// What still moves is given a quarter of a second to end.
    static QImage stillPicture(QQuickWindow& shown) {
        constexpr int looks = 10;
        QTest::qWait(25);
        QImage picture = shown.grabWindow();
        for (int look = 0; look < looks; ++look) {
            QTest::qWait(25);
            const QImage next = shown.grabWindow();
            if (next == picture) {
                break;
            }
            picture = next;
        }
        return picture;
    }

    static constexpr const char* standardSpeechModel = "ggml-small.bin";
    static constexpr const char* bestSpeechModel = "ggml-large-v3-turbo-q5_0.bin";
    static constexpr const char* standardLanguageModel = "qwen2.5-1.5b-instruct-q4_k_m.gguf";

    const Json& samples_;
};

struct Scene {
    const char* name;
    void (PictureStage::*show)();
    std::vector<QSize> sizes; ///< none for the panel
};

std::vector<Scene> scenes() {
    const std::vector<QSize> window = {{1280, 720}, {1080, 600}};
    const std::vector<QSize> everySize = {{1280, 720}, {1080, 600}, {760, 640}, {320, 700}};
    return {{"empty", &PictureStage::showEmpty, everySize},
            {"first-minutes", &PictureStage::showFirstMinutes, everySize},
            {"idle", &PictureStage::showRecording, {{1600, 1000}, {1280, 720}, {1080, 600}, {760, 640}, {320, 700}}},
            {"playback", &PictureStage::showPlayback, everySize},
            {"search", &PictureStage::showSearch, window},
            {"diagnostics", &PictureStage::showDiagnostics, everySize},
            {"settings", &PictureStage::showSettings, window},
            {"actions", &PictureStage::showActions, window},
            {"saved", &PictureStage::showSaved, window},
            {"permissions", &PictureStage::showPermissions, window},
            {"interrupted", &PictureStage::showInterrupted, everySize},
            {"start-failed", &PictureStage::showFailedStart, everySize},
            {"recording", &PictureStage::showLive, everySize},
            {"recording-scrolled", &PictureStage::showScrolledBack, everySize},
            {"one-track", &PictureStage::showOneTrack, everySize},
            {"no-model", &PictureStage::showWithoutModel, everySize},
            {"no-recogniser", &PictureStage::showNoRecogniser, everySize},
            {"model-arriving", &PictureStage::showModelArriving, everySize},
            {"models", &PictureStage::showModels, {{1280, 720}, {1080, 600}, {760, 900}, {320, 1500}}},
            {"stopping", &PictureStage::showStopping, everySize},
            {"quit", &PictureStage::showQuitting, everySize},
            {"summary-waiting", &PictureStage::showSummaryWaiting, window},
            {"summary-generating", &PictureStage::showSummaryGenerating, window},
            {"summary-failed", &PictureStage::showSummaryFailed, window},
            {"list", &PictureStage::showNarrowList, {{320, 700}}},
            {"panel-idle", &PictureStage::showPanel, {}},
            {"panel-recording", &PictureStage::showPanelLive, {}},
            {"panel-permissions", &PictureStage::showPanelPermissions, {}}};
}

void photographAll(const fs::path& folder, const std::optional<fs::path>& recording) {
    std::ifstream file(TALKLEDGER_PICTURE_SAMPLES);
    const Json samples = Json::parse(file);
    for (const char* language : {"ja", "en"}) {
        for (const Scene& scene : scenes()) {
            PictureStage stage(samples.at(language));
            (stage.*scene.show)();
            const fs::path beginning = folder / (std::string(scene.name) + "-" + language);
            scene.sizes.empty() ? stage.photographPanel(beginning) : stage.photographWindow(beginning, scene.sizes);
        }
        if (recording) {
            PictureStage stage(samples.at(language));
            stage.showRealRecording(*recording);
            stage.photographWindow(folder / (std::string("rehearsed-") + language), {{1280, 720}, {1080, 600}});
        }
    }
}

} // namespace
} // namespace talkledger

int main(int argumentCount, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    const bool hasRecording = words.size() == 4 && words[2] == "--recording";
    if (words.size() < 2 || words[0] != "--out" || (words.size() > 2 && !hasRecording)) {
        std::fputs("Usage: talkledger-pictures --out DIR [--recording DIR]\n", stderr);
        return EXIT_FAILURE;
    }
    const QTemporaryDir runtimeFolder;
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qInstallMessageHandler(talkledger::noteComplaint);
    const QApplication application(argumentCount, arguments);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    try {
        std::filesystem::create_directories(words[1]);
        talkledger::photographAll(words[1],
                                  hasRecording ? std::optional<std::filesystem::path>(words[3]) : std::nullopt);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "talkledger-pictures: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    if (talkledger::complaints > 0) {
        std::fprintf(stderr, "talkledger-pictures: Qt complained %d times.\n", talkledger::complaints);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
