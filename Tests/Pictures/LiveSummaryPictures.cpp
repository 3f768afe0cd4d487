// Photographs the live summary in each of its states, as the real program shows it while it records a spoken
// conversation, in both languages, light and dark: talkledger-live-summary-pictures --out DIR --program PATH. Fails
// when a state does not come about, or when the program complains.

#include "Rehearsal/CannedSummary.h"
#include "Rehearsal/Conversation.h"
#include "Rehearsal/ConversationPlayer.h"
#include "Rehearsal/RehearsedProgram.h"
#include "Rehearsal/ScreenReader.h"
#include "Rehearsal/SpeechSynthesis.h"
#include "Rehearsal/VirtualDisplay.h"
#include "Rehearsal/Waiting.h"
#include "Support/OwnResources.h"
#include "Support/SoundSession.h"
#include "TalkledgerApp/TrayHost.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace talkledger::rehearsal {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Between one refresh of the live summary and the next.
constexpr auto kInterval = 30s;
/// What still moves in the window has come to rest, but for what moves as long as something is at work.
constexpr auto kSettling = 300ms;

/// The desktop's settings, as its portal tells them.
class DesktopSettings {
public:
    explicit DesktopSettings(const QString& busAddress)
        : bus_(QDBusConnection::connectToBus(busAddress, QStringLiteral("the desktop"))) {
        bus_.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    void setDark(bool isDark) {
        QDBusMessage change = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        change << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
               << QVariant::fromValue(QDBusVariant(isDark ? 1U : 0U));
        bus_.send(change);
    }

private:
    QDBusConnection bus_;
};

/// A process that stands still, as one that thinks for long.
class Standstill {
public:
    explicit Standstill(pid_t process) : process_(process) { kill(process_, SIGSTOP); }

    ~Standstill() { kill(process_, SIGCONT); }

    Standstill(const Standstill&) = delete;
    Standstill& operator=(const Standstill&) = delete;

private:
    pid_t process_;
};

std::string nameOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/// The program and all that it needs around it.
class Scene {
public:
    Scene(const fs::path& programFile, const testing::SoundSession& sound, fs::path folder)
        : folder_(std::move(folder)),
          program_({programFile.string()}, surroundings(sound)),
          tray_(busAddress()),
          settings_(busAddress()),
          reader_(program_.environment()) {
        if (!tray_.hasIcon()) {
            throw RehearsalError("The program shows no icon in the tray.");
        }
    }

    RehearsedProgram& program() { return program_; }

    /// Waits until the live summary says how it stands.
    void await(const std::string& state) {
        const QString said = QString::fromStdString(texts_.provisionalSummary() + " " + state);
        program_.await("the live summary says \"" + state + "\"",
                       [&] { return reader_.find(QStringLiteral("panel"), said).has_value(); });
    }

    /// Leaves the program in English and light.
    void photograph(const std::string& state) {
        for (const auto& [language, ownName] : {std::pair("ja", "日本語"), {"en", "English"}}) {
            tray_.click(QString::fromUtf8(ownName));
            for (const bool isDark : {true, false}) {
                settings_.setDark(isDark);
                std::this_thread::sleep_for(kSettling);
                const std::string name = "live-summary-" + state + "-" + language + (isDark ? "-dark" : "-light");
                display_.photograph(program_.pid(), folder_ / (name + ".png"), 0ms);
            }
        }
    }

    /// The one that the program has started.
    pid_t awaitSummarizer() {
        std::optional<pid_t> found;
        program_.await("the language model is loaded", [&] {
            for (const pid_t child : testing::children(program_.pid())) {
                if (std::string("talkledger-summarizer").starts_with(nameOf(child))) {
                    found = child;
                }
            }
            return found.has_value();
        });
        return *found;
    }

    const AppCopy& texts() const { return texts_; }

private:
    testing::EnvironmentChanges surroundings(const testing::SoundSession& sound) const {
        testing::EnvironmentChanges surroundings = sound.environment();
        surroundings.merge(display_.environment());
        surroundings["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
        return surroundings;
    }

    QString busAddress() const {
        return QString::fromStdString(program_.environment().at("DBUS_SESSION_BUS_ADDRESS").value());
    }

    fs::path folder_;
    VirtualDisplay display_;
    RehearsedProgram program_;
    testing::TrayHost tray_;
    DesktopSettings settings_;
    ScreenReader reader_;
    AppCopy texts_{DisplayLanguage::english};
};

void photographWithoutModel(Scene& scene) {
    scene.program().waitUntilCapturing(scene.program().startRecording());
    scene.await(scene.texts().noSummaryModel());
    scene.photograph("unavailable");
    scene.program().stopRecording();
    scene.program().waitForDocument(kPatience);
}

/// A model that stands still when it is about to be asked lets the window be seen at work; one that is killed, failing.
void photographWithModel(Scene& scene, ConversationPlayer& player) {
    constexpr auto before = 3s;
    scene.program().startRecording();
    auto previousRefresh = Clock::now();
    scene.await(scene.texts().liveSummaryWaitingForSpeech());
    scene.photograph("waiting");
    player.play();
    const pid_t summarizer = scene.awaitSummarizer();
    std::this_thread::sleep_until(previousRefresh + kInterval - before);
    {
        const Standstill thinking(summarizer);
        scene.await(scene.texts().liveSummaryGenerating());
        scene.photograph("generating");
        previousRefresh = Clock::now();
    }
    scene.await(scene.texts().updated());
    scene.photograph("shown");
    std::this_thread::sleep_until(previousRefresh + kInterval - before);
    const Standstill thinking(summarizer);
    scene.await(scene.texts().liveSummaryGenerating());
    scene.photograph("refreshing");
    kill(summarizer, SIGKILL);
    scene.await(scene.texts().liveSummaryFailed());
    scene.photograph("failed");
}

void photographAll(const fs::path& programFile, const fs::path& folder) {
    fs::create_directories(folder);
    const testing::SoundSession sound;
    sound.enter();
    const Conversation conversation = loadConversation(TALKLEDGER_REHEARSAL_CONVERSATION, synthesizerVoices());
    ConversationPlayer player(speak(conversation, sound.runtimeFolder()), testing::SoundSession::kOutput,
                              testing::SoundSession::kMicrophone);
    Scene scene(fs::absolute(programFile), sound, folder);
    photographWithoutModel(scene);
    installCannedSummary(scene.program().home().models());
    photographWithModel(scene, player);
    scene.program().end();
    if (!scene.program().standardError().empty()) {
        throw RehearsalError("The program complained: " + scene.program().standardError());
    }
}

} // namespace
} // namespace talkledger::rehearsal

int main(int argumentCount, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    if (words.size() != 4 || words[0] != "--out" || words[2] != "--program") {
        std::fputs("Usage: talkledger-live-summary-pictures --out DIR --program PATH\n", stderr);
        return EXIT_FAILURE;
    }
    const QCoreApplication application(argumentCount, arguments); // for the tray
    try {
        talkledger::rehearsal::photographAll(words[3], words[1]);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "talkledger-live-summary-pictures: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
